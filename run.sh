#!/usr/bin/env bash
# Builds the library and runs the example operator on the Abilene network.
# Options go to the example: ./run.sh --help
set -euo pipefail
cd "$(dirname "$0")"
. scripts/need.sh

need_build_tools
echo "Building ..." >&2
scripts/build.sh release -DBUILD_TESTING=OFF operator_jar

lib=build/release/lib
exec java -Djava.library.path=$lib -cp $lib/operator.jar:$lib/kavril.jar operator.Operator \
    examples/data/abilene.txt "$@"
