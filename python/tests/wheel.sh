#!/usr/bin/env bash
# pip makes a wheel of the source tree without network, and what it installs moves an arm: wheel.sh python source-tree build-tree
set -euo pipefail
python=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work" "$source/python/build" "$source"/python/*.egg-info' EXIT
export KX_BUILD=$3
unset PYTHONPATH
"$python" -m pip -q install --no-index --no-deps --no-build-isolation --target "$work/site" "$source/python"
cd "$work"
PYTHONPATH=$work/site "$python" -c '
import kx, os
from importlib.metadata import entry_points
assert kx.__file__.startswith(os.getcwd()) and [e for e in entry_points(group="pytest11") if e.value == "kx.pytest_plugin"]
with kx.Controller(speed=20) as controller, controller.connect() as arm:
    arm.move_joints(joints_deg=[10, 0, 0, 0, 0, 0]).wait()
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "libKX_Service" in line}
assert all(os.path.dirname(path) == os.path.dirname(kx.__file__) for path in libraries) and libraries, libraries
'
