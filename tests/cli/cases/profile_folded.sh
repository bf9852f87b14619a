tlr2_replay profile --threads 2 --format folded small.tlr2-capture | sed "s/ [0-9]*\$//" | sort
