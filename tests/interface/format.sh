#!/usr/bin/env bash
# Every source file is formatted by .clang-format.
set -euo pipefail
cd "$(dirname "$0")/../.."
git ls-files '*.c' '*.cpp' '*.h' '*.hpp' | xargs clang-format --dry-run --Werror
