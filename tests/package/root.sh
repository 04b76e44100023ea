#!/usr/bin/env bash
# Installs the Debian packages in a bare root, uses and purges them there: root.sh directory-of-packages
# The root is a copy of what this system has of Debian's essential packages and of what ours depend on, and of nothing else:
# that takes no network, and the system stays as it is. Ends with 77 where nobody may have such a root.
set -euo pipefail
if [ $# -eq 1 ]; then
  alone=(unshare --mount --pid --mount-proc --fork --kill-child)
  [ "$(id -u)" = 0 ] || alone+=(--map-root-user)
  "${alone[@]}" true || { echo "only who may have namespaces can have a bare root" && exit 77; }
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  "${alone[@]}" "$0" "$(realpath "$1")" "$work"
  exit
fi
root=$2
debs=("$1"/*.deb)
mapfile -t ours < <(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Package; done)
status=$root/var/lib/dpkg/status

within() { chroot "$root" env -i PATH=/usr/sbin:/usr/bin HOME=/root PYTHONDONTWRITEBYTECODE=1 "$@"; }
install() { within sh -c 'dpkg -i /packages/*.deb' >"$root/log" 2>&1 || { cat "$root/log" && exit 1; }; }
files() { (cd "$root" && find . -xdev -path ./var/lib/dpkg -prune -o -path ./var/log -prune -o ! -type d -print | sort); }

# Packages as this system has them installed, with all that they depend on.
add() {
  local packages package alternative link
  mapfile -t packages < <(apt-cache -o Dir::State::lists=/nonexistent depends --recurse --installed --no-recommends \
    --no-suggests --no-conflicts --no-breaks --no-replaces --no-enhances "$@" | grep '^[a-z0-9]' | sort -u |
    grep -vxFf <(sed -n 's/^Package: //p' "$status"))
  dpkg-query -L "${packages[@]}" | grep '^/.' | sort -u | while read -r file; do
    if [ -r "$file" ] || [ -L "$file" ]; then echo "${file#/}"; fi
  done | tar -C / --no-recursion -cT - | tar -C "$root" --keep-directory-symlink --no-same-owner -x
  for package in "${packages[@]}"; do
    cp /var/lib/dpkg/info/"$package"[.:]* "$root/var/lib/dpkg/info"
    { dpkg-query -s "$package" && echo; } >>"$status"
  done
  for alternative in /var/lib/dpkg/alternatives/*; do
    link=$(sed -n 2p "$alternative")
    if [ -e "$root$(readlink -f "$link")" ]; then cp -P --parents "$link" "/etc/alternatives/${alternative##*/}" "$root"; fi
  done
  within ldconfig
}

mkdir -p "$root"/{dev,proc,tmp,root,packages,usr/{bin,sbin,lib,lib64},var/lib/dpkg/{info,updates},var/log}
for directory in bin sbin lib lib64; do ln -s "usr/$directory" "$root/$directory"; done
touch "$status" "$root/log"
mapfile -t essential < <(dpkg-query -W -f '${Essential} ${Package}\n' | sed -n 's/^yes //p')
mapfile -t needed < <(for deb in "${debs[@]}"; do dpkg-deb -f "$deb" Pre-Depends Depends; done | sed 's/^[^:]*: //' |
  tr ',' '\n' | sed 's/^ *//;s/[ (|].*//' | sort -u | grep -vxF "$(printf '%s\n' "${ours[@]}")")
add "${essential[@]}" "${needed[@]}"
for directory in dev proc; do mount --rbind "/$directory" "$root/$directory"; done
cp "${debs[@]}" "$root/packages"

# What our packages ask for is enough to use them, and nothing of theirs stays.
before=$(files)
install
within kx --version >/dev/null
within kx mjcf 36 | cmp - "$root/usr/share/kx_description/mjcf/kx_36.xml"
within python3 -c '
import kx
with kx.Controller(model=47, speed=20) as controller, controller.connect() as arm:
    arm.move_joints(joints_deg=[10, 0, 0, 0, 0, 0, 0]).wait()
    assert kx.Model(47).poses(joints_deg=[arm.joints_deg()]).position_m.shape == (1, 3)
'
for file in doc/libkx-service-dev/{README.md,docs/guide.md,examples/cell/cell.cpp} doc/libkx-service-doc/html/index.html \
  man/man1/kx{,-controller,-bridge}.1 bash-completion/completions/kx{,-controller,-bridge}; do
  [ -e "$root/usr/share/$file" ] || [ -e "$root/usr/share/$file.gz" ] || { echo "no package has $file" && exit 1; }
done
within dpkg --purge "${ours[@]}" >"$root/log" 2>&1 || { cat "$root/log" && exit 1; }
diff <(echo "$before") <(files)

# Once more, beside the tools of those who build with them.
add g++ cmake ninja-build pkgconf python3-pytest
install
cp -r "$(dirname "$0")" "$root/packages/test"
within /packages/test/use.sh /usr
