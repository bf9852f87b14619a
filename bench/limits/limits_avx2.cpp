// The limits' loops for avx2.
#include "kernels/lanes/avx2.h"
#include "loops.h"

tlr2::bench::LimitLoops tlr2::bench::Avx2Limits() { return Loops("avx2"); }
