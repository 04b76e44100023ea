#!/usr/bin/env bash
# Which lines and branches of the library the tests run: a line for each file, and the branches that none takes in
# build/coverage/branches.html.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install.sh all
./scripts/build.sh coverage
find build/coverage -name '*.gcda' -delete
ctest --preset coverage -j 16 -E 'interface|docs' >build/coverage.log || tail -n 20 build/coverage.log
cd build/coverage
gcovr --root ../.. --exclude-throw-branches --exclude-unreachable-branches --print-summary \
  --filter '../../(runtime|commands|streaming|kinematics|service)/' --html-details branches.html --txt --branches \
  cmake/library
