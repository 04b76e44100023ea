#!/usr/bin/env bash
# The shared object has its soname and links libc, libm and libcjson only: needed.sh library
set -euo pipefail
dynamic=$(readelf -d "$1")
grep -q 'SONAME.*\[libKX_Service\.so\.1\]' <<<"$dynamic"
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" | LC_ALL=C sort | tr '\n' ' ')
[ "$needed" = "libc.so.6 libcjson.so.1 libm.so.6 " ] || { echo "linked libraries: $needed"; exit 1; }
