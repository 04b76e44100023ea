#!/usr/bin/env bash
# The package and all programs written with it are well typed, and the stub is true: types.sh python source-tree
set -euo pipefail
python=$1 source=$2
"$python" -m mypy --config-file "$source/python/mypy.ini" -p kx
"$python" -m mypy --config-file "$source/python/mypy.ini" "$source"/python/examples/*.py
"$python" -m mypy.stubtest kx --mypy-config-file "$source/python/mypy.ini" --allowlist "$source/python/tests/stubtest.allow"
