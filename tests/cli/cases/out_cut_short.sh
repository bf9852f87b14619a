# Files may have 4 KiB from here on, as on a disk that is full: what stood there before stays.
mkdir out; tlr2_replay render --format raw --frames 0 --out out small.tlr2-capture >/dev/null
cp out/frame00000.bgra picture; echo before >page
trap '' XFSZ; ulimit -f 8
tlr2_replay render --format raw --frames 0 --set ForceFilter=1 --out out small.tlr2-capture; echo $?
tlr2_replay report --out page small.tlr2-capture; echo $?
cmp out/frame00000.bgra picture; cat page; ls out page*
