// The limits' loops for avx512skx.
#include "kernels/lanes/avx512skx.h"
#include "loops.h"

tlr2::bench::LimitLoops tlr2::bench::Avx512Limits() { return Loops("avx512skx"); }
