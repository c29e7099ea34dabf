#!/usr/bin/env bash
# build.sh PRESET [-DNAME=VALUE...] [TARGET...]: configures and builds, quietly unless it
# fails.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=$1
shift
settings=()
while [[ ${1-} == -D* ]]; do
    settings+=("$1")
    shift
done

log=build/$preset.log
mkdir -p build
{
    cmake --preset "$preset" "${settings[@]}" &&
        cmake --build --preset "$preset" --target "${@:-all}"
} >"$log" 2>&1 || {
    cat "$log" >&2
    echo "The $preset build has failed." >&2
    exit 1
}
