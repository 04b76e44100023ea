#!/usr/bin/env bash
# The shared object exports exactly the names of the checked-in list: exports.sh library list
set -euo pipefail
diff <(LC_ALL=C sort "$2") <(nm -D --defined-only --with-symbol-versions "$1" | awk '$2 != "A" {print $3}' | sed -n 's/@@KX_SERVICE_1$//p' | LC_ALL=C sort) ||
  { echo "the exported names differ from $2"; exit 1; }
