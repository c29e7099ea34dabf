#!/usr/bin/env bash
# build.sh [--times] PRESET [-DNAME=VALUE...] [TARGET...]: configures and builds, quietly
# unless it fails. On a terminal a line counts the steps.
#
# NAME=OFF leaves something out of a new build directory. What an earlier call has built there
# stays, or two commands in turn would throw away each other's files.
set -euo pipefail
cd "$(dirname "$0")/.."

times=false
if [ "${1-}" = --times ]; then
    times=true
    shift
fi
preset=$1
shift
settings=()
while [[ ${1-} == -D* ]]; do
    if [[ $1 != *=OFF || ! -e build/$preset/CMakeCache.txt ]]; then settings+=("$1"); fi
    shift
done

log=build/$preset.log
mkdir -p build
: >"$log"

# Passes on "[5/80]" of the lines that ninja writes for its steps.
count_steps() {
    if [ -t 2 ]; then
        while read -r line; do
            [[ $line == \[*/*\]* ]] && printf '\r%s ' "${line%%]*}]" >&2
        done
        printf '\r\033[K' >&2
    else
        cat >/dev/null
    fi
}

part() { # WHAT-IT-DOES COMMAND...
    local done=$1 start=$SECONDS
    shift
    "$@" 2>&1 | tee -a "$log" | count_steps || {
        cat "$log" >&2
        echo "The $preset build has failed." >&2
        exit 1
    }
    if $times; then echo "$preset: $done in $((SECONDS - start)) s"; fi
}
part configured cmake --preset "$preset" "${settings[@]}"
part built cmake --build --preset "$preset" --target "${@:-all}"
