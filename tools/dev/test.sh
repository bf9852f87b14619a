#!/usr/bin/env bash
# Installs what is missing, builds and passes the tests: lint, native, the sanitizers over the driver's rooms, the 32-bit
# Windows driver whole under Wine, and the 64-bit one as a smoke test. On request also 32-bit native code, clang-tidy, and
# the sanitizers over everything there is.
#
# usage: test.sh [STAGE...]   stages: lint native asan tsan win32 win64 (by default), and
#                             tidy native32 asan-full tsan-full
#
# A stage's build and test output lies in build/test-logs/.
set -euo pipefail
cd "$(dirname "$0")/../.."
root=$PWD

stages=("$@")
[ ${#stages[@]} -gt 0 ] || stages=(lint native asan tsan win32 win64)
for stage in "${stages[@]}"; do
  case "$stage" in
    lint|tidy|native|native32|asan|asan-full|tsan|tsan-full|win32|win64) ;;
    *) echo "test.sh: unknown stage '$stage' (lint tidy native native32 asan asan-full tsan tsan-full win32 win64)" >&2
      exit 2 ;;
  esac
done

bash tools/dev/packages.sh
jobs=$(nproc)
passed=0
failed=0
failures=()
logs=$root/build/test-logs
mkdir -p "$logs"
# Nothing of the user's own settings may reach a test, and no test may change them.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export XDG_CONFIG_HOME=$scratch/config
unset TLR2_THREADS TLR2_ISA TLR2_PIPELINE_CUTOFF TLR2_RJQ_IDLE_SPIN_US TLR2_CAPTURE_FRAMES TLR2_TRACE_FRAMES

export PATH=$PATH:/usr/lib/llvm-19/bin  # where the sanitizers find what names the lines in their reports
launcher=()
# Objects are found again from another clone of the same sources.
export CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

# check NAME COMMAND...: runs a command that is a test by itself.
check() {
  local name=$1
  shift
  if "$@" >"$logs/$name.log" 2>&1; then
    passed=$((passed + 1))
    echo "ok      $name"
  else
    failed=$((failed + 1))
    failures+=("$name")
    echo "FAILED  $name"
    tail -n 40 "$logs/$name.log"
  fi
}

build() {
  local preset=$1
  shift
  cmake --preset "$preset" "${launcher[@]}" "$@" >"$logs/$preset-configure.log" 2>&1 &&
    cmake --build "build/$preset" -j "$jobs" ${targets[@]+--target "${targets[@]}"} -- -k 0 >"$logs/$preset-build.log" 2>&1
}

# suite PRESET [ctest arguments]: builds a preset and counts its tests.
suite() {
  local preset=$1
  shift
  if ! build "$preset" "${configure[@]}"; then
    failed=$((failed + 1))
    failures+=("$preset: build")
    tail -n 5 "$logs/$preset-configure.log"
    grep -E 'error|FAILED|undefined' "$logs/$preset-build.log" 2>/dev/null | head -n 30
    return
  fi
  local log=$logs/$preset-tests.log
  (cd "build/$preset" && "${run[@]}" ctest --output-on-failure --timeout 900 "$@") >"$log" 2>&1 || true
  grep -hoE 'SKIPPED:? .*' "$log" | sort -u | sed "s/^/  $preset: /" || true
  local counts total bad
  counts=$(grep -E '^[0-9]+% tests passed' "$log" | tail -n 1)
  total=$(sed -nE 's/.*out of ([0-9]+).*/\1/p' <<<"$counts")
  bad=$(sed -nE 's/.*, ([0-9]+) tests? failed.*/\1/p' <<<"$counts")
  if [ -z "$total" ]; then
    failed=$((failed + 1))
    failures+=("$preset: no test ran")
    tail -n 20 "$log"
    return
  fi
  passed=$((passed + total - bad))
  failed=$((failed + bad))
  echo "$preset: $((total - bad)) of $total test programs passed"
  if [ "$bad" -gt 0 ]; then
    failures+=("$preset: $bad tests")
    grep -E '\[  FAILED  \]|Failure|\*\*\*|ERROR: |WARNING: Thread|runtime error' "$log" | head -n 60 || true  # many lines close the pipe
  fi
}

# core PRESET TEST...: builds and counts these tests of a preset alone.
core() {
  local preset=$1 test
  shift
  for test in "$@"; do
    case "$test" in
      stress_*) targets+=(stress_queue) ;;
      fuzz_*) targets+=("$test") ;;
      *) targets+=("test_$test") ;;
    esac
  done
  suite "$preset" -R "^($(IFS='|' && echo "$*"))\$"
}

for stage in "${stages[@]}"; do
  began=$SECONDS
  configure=()
  run=()
  targets=()
  case "$stage" in
    lint)
      check rooms python3 tools/dev/lint_rooms.py
      check wording bash tools/dev/lint_words.sh
      check format bash tools/dev/lint_format.sh
      ;;
    native) suite native ;;
    tidy)
      build native || true
      check tidy bash tools/dev/lint_tidy.sh build/native
      ;;
    # The model is the same in every build; kernels' tiles are fewer where each costs ten times as much.
    native32) suite native32 -E 'queue_model' ;;
    # The kernels' tiles against the scalar form, the replay tool and what stands on it are left to the full stages: they
    # cost half of the time to build, and the scenes, streams and captures here run through the same kernels.
    asan)
      export ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
      core asan base platform settings table grid state textures dispatch queue tiles frame capture present wgl entries \
        panel golden trace_text summary_text all_on fuzz_reader fuzz_replay
      check fuzz bash tools/dev/fuzz.sh 60
      grep -h '^fuzz_' "$logs/fuzz.log" | sed 's/^/  /' || true
      ;;
    asan-full)
      export ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
      TLR2_KERNEL_TILES=10000 TLR2_KERNEL_PILES=1200 suite asan -E 'queue_model|stress_queue_crowded'
      ;;
    tsan)
      export TSAN_OPTIONS=halt_on_error=1
      core tsan platform settings queue tiles frame wgl entries golden all_on stress_queue_constant stress_queue_mixed
      ;;
    tsan-full) TSAN_OPTIONS=halt_on_error=1 suite tsan -E 'queue_model|kernels|stress_queue_crowded' ;;
    win32)
      bash tools/dev/setup_rig.sh >"$logs/rig.log" 2>&1 || { tail -n 20 "$logs/rig.log"; exit 1; }
      run=(bash "$root/tools/dev/run_wine.sh" --session)
      suite win32
      ;;
    win64)
      bash tools/dev/setup_rig.sh >"$logs/rig.log" 2>&1 || { tail -n 20 "$logs/rig.log"; exit 1; }
      run=(bash "$root/tools/dev/run_wine.sh" --session)
      # The 64-bit library is built whole and smoke-tested: names, a program that draws, presentation, overlay, panel.
      targets=(opengl32 win32_driver_beside win32_triangle win32_dxgi win32_post_process win32_overlay win32_panel
        win32_panel_process win32_release test_base test_state test_settings test_panel)
      tests='win32_triangle|win32_dxgi|win32_post_process|win32_overlay|win32_panel|win32_panel_process|win32_release'
      suite win64 -R "^($tests|export_names|hash_symbols|base|state|settings|panel)\$"
      ;;
  esac
  echo "-- $stage: $((SECONDS - began)) s"
done

[ ${#failures[@]} -eq 0 ] || printf 'failed: %s\n' "${failures[@]}"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
