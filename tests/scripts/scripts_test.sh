#!/usr/bin/env bash
# The scripts of the root: what they refuse, before they build anything, and that they wait for apt.
#   scripts_test.sh ROOT
set -u
cd "$1" || exit 1
root=$PWD folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
faults=0
fault() {
  echo "FAILED: $*" >&2
  faults=$((faults + 1))
}

refuses() {
  timeout 5 "$@" >"$folder/out" 2>"$folder/err"
  [ $? = 2 ] && [ ! -s "$folder/out" ] || fault "$* is not refused: $(cat "$folder/out")"
}
refuses ./fuzz 99999999999999999999
refuses ./fuzz 000
refuses ./fuzz 6x
refuses ./reference a b
refuses ./demo x
refuses ./bench --what

# An apt that has its lock at the second try.
cat >"$folder/apt-get" <<'END'
#!/usr/bin/env bash
[ -e "$0.tried" ] || { touch "$0.tried"; echo "E: Could not get lock /var/lib/dpkg/lock-frontend" >&2; exit 100; }
END
chmod +x "$folder/apt-get"
waited=$(PATH=$folder:$PATH bash -c "source '$root/scripts/common.sh' && apt_get install nothing")
[ $? = 0 ] && [ "$waited" = "waiting for another program that uses apt" ] || fault "no waiting for apt: $waited"

[ "$faults" = 0 ] && echo "the scripts behave"
