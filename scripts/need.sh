#!/usr/bin/env bash
# need.sh [--missing] PART...: installs what the parts of the project need and a Debian machine
# lacks; --missing only lists them. prerequisites.txt has the packages and the parts; "all" are
# all parts.
#
#     scripts/need.sh core java
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C DEBIAN_FRONTEND=noninteractive
PATH=${JAVA_HOME:+$JAVA_HOME/bin:}$PATH

# `type -P` finds commands only; a command may have the name of a folder here, as cmake.
have() {
    case $1 in
        /*) [ -e "$1" ] ;;
        *) type -P "$1" >/dev/null ;;
    esac
}

list_only=false
if [ "${1-}" = --missing ]; then
    list_only=true
    shift
fi

packages=()
while read -r thing package parts; do
    case $thing in '' | '#'*) continue ;; esac
    for part in "$@"; do
        case " $parts all " in *" $part "*)
            have "$thing" || [[ " ${packages[*]-} " == *" $package "* ]] || packages+=("$package")
            break ;;
        esac
    done
done <scripts/prerequisites.txt

if $list_only; then
    printf '%s\n' "${packages[@]}"
    exit
fi
[ ${#packages[@]} -gt 0 ] || exit 0

ask() {
    echo "Please install first${1-}: ${packages[*]}" >&2
    exit 1
}
type -P apt-get >/dev/null || ask " (names of Debian 12)"
root=()
if [ "$(id -u)" -ne 0 ]; then
    type -P sudo >/dev/null || ask
    root=(sudo env LC_ALL=C DEBIAN_FRONTEND=noninteractive)
fi

log=build/apt.log
mkdir -p build
: >$log
run() {
    "${root[@]}" "$@" >>$log 2>&1 </dev/null || {
        echo
        tail -n 5 $log
        echo "$* has failed, see $PWD/$log"
        exit 1
    } >&2
}
echo -n "Installing ${packages[*]}" >&2
run apt-get update -q
install=(apt-get install -q --no-install-recommends)
# Refused, it has said how much it would take.
size=$("${install[@]}" --assume-no "${packages[@]}" 2>&1 | tee -a $log |
    sed -nE 's|^Need to get ([0-9.,]+ [kMG]?B).*|\1 to download|p
             s|^After this operation, (.*) of additional disk.*|\1 on disk|p' | paste -sd,) || true
echo " (${size//,/, }) ..." >&2
run "${install[@]}" -y "${packages[@]}"
