#!/usr/bin/env bash
# The table of rooms is true: CONTRIBUTING.md names every folder of sources but those in tests, if only behind its parent's.
set -euo pipefail
cd "$(dirname "$0")/../.."
missing=0
for folder in $(git ls-files '*.cpp' '*.h' '*.hpp' '*.c' ':!tests' | grep -o '^[^/]*/\([^/]*/\)\?' | sort -u); do
  grep -qF -e "\`$folder" -e "\`${folder#*/}\`" CONTRIBUTING.md || { echo "CONTRIBUTING.md lacks $folder" && missing=1; }
done
exit $missing
