#!/usr/bin/env bash
# The scripts of the root: wrong arguments are rejected before anything is built, and they wait for the lock of apt.
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

rejects() {
  timeout 5 "$@" >"$folder/out" 2>"$folder/err"
  [ $? = 2 ] && [ ! -s "$folder/out" ] || fault "$* is not rejected: $(cat "$folder/out")"
}
rejects ./fuzz 99999999999999999999
rejects ./fuzz 000
rejects ./fuzz 6x
rejects ./reference a b
rejects ./demo x
rejects ./bench --what

# A replacement of apt-get that gets the lock at the second attempt.
cat >"$folder/apt-get" <<'END'
#!/usr/bin/env bash
[ -e "$0.tried" ] || { touch "$0.tried"; echo "E: Could not get lock /var/lib/dpkg/lock-frontend" >&2; exit 100; }
END
chmod +x "$folder/apt-get"
waited=$(PATH=$folder:$PATH bash -c "source '$root/scripts/common.sh' && apt_get install nothing")
[ $? = 0 ] && [ "$waited" = "waiting for the apt lock" ] || fault "does not wait for the apt lock: $waited"

[ "$faults" = 0 ] && echo "all checks passed"
