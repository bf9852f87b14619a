# Drawing this capture takes longer than a second.
tlr2_replay report --max-seconds 1 --out nowhere/page endless.tlr2-capture; echo $?
tlr2_replay diff --max-seconds 1 --out nowhere/page endless.tlr2-capture; echo $?
tlr2_replay report --max-seconds 1 --out page endless.tlr2-capture; echo $?; ls page* 2>/dev/null
tlr2_replay diff --max-seconds 1 --out page endless.tlr2-capture; echo $?; ls page* 2>/dev/null
:
