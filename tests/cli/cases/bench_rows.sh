tlr2_replay bench --isas sse4 --thread-counts 1,2 --repeats 2 --frames 0,2 small.tlr2-capture | cut -d, -f1-4
