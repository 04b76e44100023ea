#!/usr/bin/env bash
# The shared object exports exactly the names of the checked-in list: exports.sh library list
set -euo pipefail
exported=$(nm -D -C --defined-only --with-symbol-versions "$1" | sed -n 's/^[^ ]* [^A] \([^@(]*\).*@@KX_SERVICE_1$/\1/p')
diff <(LC_ALL=C sort "$2") <(LC_ALL=C sort <<<"$exported") || { echo "the exported names differ from $2"; exit 1; }
