#!/usr/bin/env bash
# clang-tidy over the driver's sources, with the compile commands of a configured build.
# usage: lint_tidy.sh BUILD_DIR
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:?usage: lint_tidy.sh BUILD_DIR}
# Kernel objects are the intrinsics' own dialect: the compilers' warnings and the differential tests hold them.
git ls-files -- 'src/*.cpp' | grep -vE '^src/(kernels/targets|present/dxgi|platform/win32|panel/win32)/|/dll_main\.cpp$' |
  xargs -P "$(nproc)" -n 4 clang-tidy-19 -p "$build" --quiet --warnings-as-errors='*'
