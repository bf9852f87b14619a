tlr2_replay help >list
for words in "help help" "help --help" "--help help"; do tlr2_replay $words | cmp - list || echo "$words"; done
tlr2_replay --version >version && tlr2_replay help --version | cmp - version
