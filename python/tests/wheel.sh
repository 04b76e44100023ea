#!/usr/bin/env bash
# pip installs from the source tree and from a source distribution, without network, and what it installs moves an arm;
# what is missing for that is said: wheel.sh python source-tree build-tree
set -euo pipefail
python=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset PYTHONPATH
before=$(cd "$source/python" && find . | sort)

install() { "$python" -m pip -q install --no-index --no-deps --no-build-isolation --target "$work/$1" "$2"; }
moves() {
  (cd "$work" && PYTHONPATH=$work/$1 "$python" -c '
import kx, os
from importlib.metadata import entry_points
assert kx.__file__.startswith(os.getcwd()) and [e for e in entry_points(group="pytest11") if e.value == "kx.pytest_plugin"]
with kx.Controller(speed=20) as controller, controller.connect() as arm:
    arm.move_joints(joints_deg=[10, 0, 0, 0, 0, 0]).wait()
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "libKX_Service" in line}
assert all(os.path.dirname(path) == os.path.dirname(kx.__file__) for path in libraries) and libraries, libraries
')
}

KX_BUILD=$3 install from-tree "$source/python"
moves from-tree

(cd "$source/python" && "$python" -c 'import sys; from setuptools.build_meta import build_sdist; build_sdist(sys.argv[1])' \
  "$work") >/dev/null
CXXFLAGS=-O0 CMAKE_BUILD_TYPE=None install from-source "$work"/*.tar.gz
moves from-source

if said=$(PATH=$work install nowhere "$source/python" 2>&1) || ! grep -q 'no cmake .*cJSON' <<<"$said"; then
  echo "without cmake: $said" && exit 1
fi
diff <(echo "$before") <(cd "$source/python" && find . | sort)
