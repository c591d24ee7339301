#!/usr/bin/env bash
# Guards the Debian packages: installed, they work without being told where they are; removed, they leave nothing.
# Changes the system that it runs on, so it runs as root only, and not where they are installed already.
source "$(dirname "$0")/common.sh"

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' zelvane 2>/dev/null)" = installed ]; }
remove() { quietly "removing the packages" apt-get purge -y -o DPkg::Lock::Timeout=300 zelvane zelvane-dev; }

if [ "$(id -u)" -ne 0 ] || ! command -v dpkg apt-get >/dev/null || is_installed; then
  echo "skipped: needs root, dpkg and a system without these packages"
  exit 77
fi
pack DEB
trap '! is_installed || remove; rm -rf "$work"' EXIT
export DEBIAN_FRONTEND=noninteractive
quietly "installing the packages" apt-get install -y --no-install-recommends -o DPkg::Lock::Timeout=300 \
  "$work"/packages/*.deb
mapfile -t files < <(dpkg-query --listfiles zelvane zelvane-dev | grep -i zelvane | sort -u)

cp -r /usr/share/doc/zelvane/examples/blockwatch "$work/client"
build_client "$work/client"
kzhost "$source/tests/examples/blockwatch_test.lua" "$work/client/build/BlockWatch.hmx"
[ "$(pkg-config --modversion zelvane)" = "$(kzhost --version | grep -o '[0-9.]*$')" ] || fail "two versions are installed"
for page in kzhost:--module kztemplate:dump; do
  zcat "/usr/share/man/man1/${page%:*}.1.gz" | sed 's/\\-/-/g' | grep -q -e "${page#*:}" || fail "no page of ${page%:*}"
done

remove
for file in "${files[@]}"; do
  [ ! -e "$file" ] || fail "removing leaves $file"
done
