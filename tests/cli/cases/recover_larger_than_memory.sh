tlr2_replay recover --max-memory 32 bulky.tlr2-capture out.tlr2-capture; echo $?; tlr2_replay info --max-memory 32 out.tlr2-capture | grep -v "^file"
