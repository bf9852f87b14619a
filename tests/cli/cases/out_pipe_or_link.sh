# A pipe or a device gets the bytes itself and is not replaced, nor is a link.
mkfifo pipe; tlr2_replay report --out pipe small.tlr2-capture >/dev/null & cat pipe | grep -c "<h1>"; wait; test -p pipe; echo $?; ls pipe*
cp small.tlr2-capture target; ln -s target link
tlr2_replay trim --frames 0 small.tlr2-capture link >/dev/null && test -h link && tlr2_replay info target | grep frames:
