#!/usr/bin/env bash
# The checks that take too long for every change: ten million jobs through the queue in each mix, a million random tiles
# a kernel, the budgets of idle calls, half an hour of fuzzing each target, two hundred kills in mid-capture, random
# programs captured under Wine and drawn again natively, programs that nobody here wrote. By hand; figures and date go to docs/long-checks.md.
set -euo pipefail
cd "$(dirname "$0")/../.."
bash tools/dev/packages.sh
cmake --preset native >/dev/null
cmake --build build/native -j "$(nproc)" --target stress_queue test_kernels bench_entry_budget \
  tlr2_replay >/dev/null
workers=$(($(nproc) + 1))
for mix in constant mixed; do
  TLR2_RJQ_IDLE_SPIN_US=0 build/native/tests/stress/stress_queue --jobs 10000000 --workers "$workers" --mix "$mix"
done
TLR2_KERNEL_TILES=1000000 TLR2_KERNEL_PILES=150000 build/native/tests/kernels/test_kernels --gtest_filter='*Differential*' --gtest_brief=1
build/native/bench/bench_entry_budget --check
cmake --preset native32 -DTLR2_BENCH=ON >/dev/null
cmake --build build/native32 -j "$(nproc)" --target bench_entry_budget >/dev/null
build/native32/bench/bench_entry_budget --check
bash tools/dev/fuzz.sh 1800
bash tools/dev/setup_rig.sh
cmake --preset win32 -DTLR2_BENCH=ON >/dev/null
cmake --build build/win32 -j "$(nproc)" --target opengl32 win32_endless win32_random_calls win32_driver_beside \
  bench_entry_budget >/dev/null
tools/dev/run_wine.sh build/win32/bench/bench_entry_budget.exe --check
tools/dev/run_wine.sh --session python3 tests/win32/kills.py build/native/bin/tlr2_replay
tools/dev/run_wine.sh --session python3 tests/win32/random_captures.py build/native/bin/tlr2_replay
bash tools/dev/real_programs.sh
