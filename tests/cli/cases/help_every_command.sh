for command in $(tlr2_replay help | sed -n "s/^  \([a-z][a-z-]*\)  .*/\1/p"); do test $command = help || tlr2_replay help $command >/dev/null || echo "no help for $command"; done
