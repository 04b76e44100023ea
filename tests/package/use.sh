#!/usr/bin/env bash
# An installation as its users see it: use.sh prefix
# Builds an installed example through find_package, and a C and a C++ program through pkg-config, which move the arm of the
# installed kx-controller.
set -euo pipefail
prefix=$1
consumer=$(cd "$(dirname "$0")" && pwd)/consumer
work=$(mktemp -d)
trap 'kill "${controller_pid:-}" "${bridge_pid:-}" 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"

cmake -S "$prefix/share/doc/libkx-service-dev/examples" -B build -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >cmake.log &&
  cmake --build build --target 6_modbus >cmake.log || { cat cmake.log && exit 1; }

PKG_CONFIG_PATH=$(dirname "$(find "$prefix"/lib* -name kx-service.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs kx-service)
rpath=-Wl,-rpath,$(pkg-config --variable=libdir kx-service)
gcc "$consumer/move.c" "${flags[@]}" -lm "$rpath" -o move_c
g++ "$consumer/move.cpp" "${flags[@]}" "$rpath" -o move_cpp

exec {output}< <(exec "$prefix/bin/kx-controller" --port 0 --model 46 --speed 20)
controller_pid=$!
read -r -u "$output" listening
port=${listening##*:}
for program in build/6_modbus ./move_c ./move_cpp; do
  library=$(ldd "$program" | sed -n 's/.*libKX_Service.so.1 => \([^ ]*\) .*/\1/p')
  [[ $(realpath "$library") == "$(realpath "$prefix")"/* ]] || {
    echo "$program uses $library, not that of $prefix"
    exit 1
  }
  "$program" "$port" || {
    echo "$program ended with status $?"
    exit 1
  }
done
"$prefix/bin/kx" --arm "127.0.0.1:$port" --model 46 state >kx.log
[ "$("$prefix/bin/kx" --version)" = "kx $(pkg-config --modversion kx-service)" ] # of the library, and of the package

# The bridge publishes; another implementation of DDS reads that in other tests.
exec {bridge}< <(exec "$prefix/bin/kx-bridge" --domain 101 --arm "127.0.0.1:$port,46" 2>&1)
bridge_pid=$!
grep -qm 1 connected <&"$bridge"
kill -INT $bridge_pid

# Python programs, and the fixtures of their tests. The interpreter's own directories are below /usr.
if [ "$prefix" != /usr ]; then export PYTHONPATH=$prefix/lib/python3/dist-packages; fi
cat >test_arm.py <<'TEST'
import kx
def test_arm(kx_arm):
    with kx_arm.move_joints(joints_deg=[10, 0, 0, 0, 0, 0], speed_percent=100):
        pass
    print(kx.__file__)
    assert kx.Model(46).pose(joints_deg=kx_arm.joints_deg()).position_m.shape == (3,)
TEST
KX_CONTROLLER=$prefix/bin/kx-controller /usr/bin/python3 -m pytest -q -s -p no:cacheprovider test_arm.py >pytest.log || { cat pytest.log && exit 1; }
grep -q "^$prefix/lib/python3/dist-packages/kx/" pytest.log
