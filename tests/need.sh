#!/usr/bin/env bash
# need.sh SOURCE-DIR: what scripts/prerequisites.txt names must be there, come from the package
# named, and be missed where it is not there.
set -euo pipefail
cd "$1"

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

missing=$(scripts/need.sh --missing all)
[ -z "$missing" ] || fail "missing here:" $missing

installed() {
    dpkg-query --show --showformat '${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed
}
while read -r thing package _; do
    file=$(readlink -f "$(type -P "$thing" || echo "$thing")")
    # A command may come from elsewhere on this machine.
    installed "$package" && owner=$(dpkg-query --search "$file" 2>/dev/null) || continue
    owner=${owner%%:*}
    [ "$owner" = "$package" ] ||
        apt-cache depends --recurse --installed --important "$package" | grep -x "$owner" >/dev/null ||
        fail "$thing is in $owner, which $package does not bring"
done < <(grep '^[^#]' scripts/prerequisites.txt)

# A machine that has little more than a shell.
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
ln -s "$(type -P bash)" "$(type -P dirname)" "$commands"
missing=$(env -u JAVA_HOME PATH="$commands" bash scripts/need.sh --missing all)
expected=$(awk '/^[a-z]/ { print $2 }' scripts/prerequisites.txt)
[ "$missing" = "$expected" ] || fail "missing without commands:" $missing "instead of" $expected
