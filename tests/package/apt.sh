#!/usr/bin/env bash
# Installs the Debian packages, uses and removes them, as root: apt.sh directory-of-packages
# Ends with 77 where that would not do: for another user, or where they are installed already.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
packages=$(realpath "$1")
names=(libkx-service1 libkx-service-dev libkx-service-doc kx-controller kx-cli python3-kx)
[ "$(id -u)" = 0 ] || { echo "only root can install packages" && exit 77; }

# One test at a time; as long as the file says so, what is installed is only a test's.
exec {lock}<>/run/lock/kx-service-package-test
flock "$lock"
apt() { DEBIAN_FRONTEND=noninteractive apt-get -yqq -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0 "$@"; }
installed() { dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' "${names[@]}" 2>/dev/null | sed -n 's/^i. *//p'; }
remove() {
  local present
  mapfile -t present < <(installed)
  if [ ${#present[@]} -gt 0 ]; then apt purge "${present[@]}" >/dev/null; fi
  : >/run/lock/kx-service-package-test
}
if [ -s /run/lock/kx-service-package-test ]; then remove; fi
if [ "$(installed)" ]; then echo "already installed: $(installed | tr '\n' ' ')" && exit 77; fi

trap remove EXIT
echo testing >/run/lock/kx-service-package-test
log=$(apt install --no-install-recommends "$packages"/*.deb 2>&1) || { echo "$log" && exit 1; }
files=$(dpkg -L "${names[@]}")
"$here/use.sh" /usr {lock}>&-
for file in libkx-service-dev/README.md libkx-service-dev/docs/guide.md libkx-service-dev/examples/cell/cell.cpp \
  libkx-service-doc/html/index.html; do
  grep -qx "/usr/share/doc/$file\(\.gz\)\?" <<<"$files" || { echo "no package has $file" && exit 1; }
done
for page in kx kx-controller; do
  grep -qx "/usr/share/man/man1/$page.1.gz" <<<"$files" && grep -qx "/usr/share/bash-completion/completions/$page" <<<"$files"
done

remove
while read -r file; do
  if [ -f "$file" ] || [ -L "$file" ] && [ ! -d "$file" ]; then echo "left behind: $file" && exit 1; fi
done <<<"$files"
