#!/usr/bin/env bash
# Every C++ file is as clang-format would write it.
set -euo pipefail
cd "$(dirname "$0")/../.."
git ls-files -z -- '*.h' '*.cpp' | xargs -0 clang-format-19 --dry-run -Werror
