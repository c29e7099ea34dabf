#!/usr/bin/env bash
# bare.sh COMMAND...: runs COMMAND as on a Debian machine that has git, what every machine has
# and the packages of prerequisites.txt, but nothing else. So a command or a header that no
# package there brings is missed here, too, and not only on the machines of others.
#
# The other packages' files are taken out of /usr for COMMAND alone: by a layer over it, in a
# mount namespace. That takes root; without it, COMMAND runs as it is.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

installed() {
    dpkg-query --show --showformat '${db:Status-Status} ${Package}\n' |
        sed -n 's/^installed //p' | sort -u
}

hide() { # LAYERS PACKAGE...: hides all files below /usr but those of the packages
    local layers=$1
    shift
    mount -t tmpfs none "$layers"
    mkdir "$layers/upper" "$layers/work"
    mount -t overlay overlay -o "lowerdir=/usr,upperdir=$layers/upper,workdir=$layers/work" /usr
    local kept=$layers/kept others=$layers/others
    dpkg-query --listfiles "$@" >"$kept"
    installed | xargs dpkg-query --listfiles >"$others"
    # Before /usr was merged, packages had files in /bin and /lib.
    sed -i 's|^/\(bin\|sbin\|lib[^/]*\)/|/usr/\1/|' "$kept" "$others"
    grep '^/usr/' "$others" | sort -u | comm -23 - <(sort -u "$kept") |
        tr '\n' '\0' | xargs -0 rm -f -d -- 2>/dev/null || true
    rm -rf /usr/local/*
}

if [ "${1-}" = --in-namespace ]; then
    layers=$2
    shift 2
    # What dpkg calls essential or required is on every machine.
    mapfile -t packages < <({
        dpkg-query --show --showformat '${Package} ${Essential} ${Priority}\n' |
            awk '$2 == "yes" || $3 == "required" { print $1 }'
        echo apt ca-certificates git
        awk '!/^#/ { print $2 }' "$here/prerequisites.txt"
    } | xargs apt-cache depends --recurse --installed --important |
        sort -u | comm -12 - <(installed))
    hide "$layers" "${packages[@]}"
    exec "$@"
fi

if [ "$(id -u)" -ne 0 ] || ! unshare --mount true 2>/dev/null; then
    echo "Not hiding other packages: that takes root" >&2
    exec "$@"
fi
layers=$(mktemp -d)
trap 'rmdir "$layers"' EXIT
unshare --mount "$0" --in-namespace "$layers" "$@"
