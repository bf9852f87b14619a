tlr2_replay profile --threads 2 --repeats 2 small.tlr2-capture | grep "^tlr2::RenderFrame " | cut -c1-67 | uniq
