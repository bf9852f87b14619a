#!/usr/bin/env bash
# Fuzzes the capture reader and the replay with libFuzzer under AddressSanitizer and UndefinedBehaviorSanitizer, both at
# once, from the corpora in the tree. What is found new stays in build/fuzz/, as do inputs that fail.
#
# usage: fuzz.sh [SECONDS]   of each target, 60 by default
#
# To take what a long run found into the tree: fuzz_<target> -merge=1 tests/fuzz/corpus/<target> build/fuzz/new/<target>
# with the program from build/asan/tests/fuzz/.
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD
seconds=${1:-60}
[[ $seconds =~ ^[1-9][0-9]*$ ]] || { echo "usage: fuzz.sh [SECONDS]" >&2; exit 2; }

build=$root/build/fuzz
out=$root/build/asan/tests/fuzz
launcher=()
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
mkdir -p "$build"
if ! { cmake --preset asan "${launcher[@]}" &&
       cmake --build build/asan -j "$(nproc)" --target fuzz_reader fuzz_replay fuzz_dictionary; } >"$build/build.log" 2>&1
then
  tail -n 30 "$build/build.log"
  exit 1
fi

export PATH=$PATH:/usr/lib/llvm-19/bin  # where the sanitizers find what names the lines in their reports
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=1} UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
declare -A running
stop() { kill "${running[@]}" 2>/dev/null || true; }
trap stop INT TERM
for target in reader replay; do
  new=$build/new/$target
  mkdir -p "$new"
  # The reader's notes on standard error stay out; the fuzzer's own reports do not.
  "$out/fuzz_$target" -dict="$out/commands.dict" -max_total_time="$seconds" -timeout=25 \
    -rss_limit_mb=2048 -max_len=65536 -close_fd_mask=2 -print_final_stats=1 -artifact_prefix="$new.failed-" \
    "$new" "$root/tests/fuzz/corpus/$target" >"$build/$target.log" 2>&1 &
  running[$target]=$!
done
failed=0
for target in "${!running[@]}"; do
  if wait "${running[$target]}"; then
    last=$(grep -E '^#[0-9]+' "$build/$target.log" | grep -oE 'cov: [0-9]+ ft: [0-9]+' | tail -n 1)
    echo "fuzz_$target: $(sed -nE 's/^stat::number_of_executed_units: //p' "$build/$target.log") inputs in $seconds s, $last"
  else
    failed=1
    echo "fuzz_$target: FAILED, see $build/$target.log and $build/new/$target.failed-*"
    grep -vE '^#[0-9]+|^NEW_FUNC' "$build/$target.log" | tail -n 40
  fi
done
exit $failed
