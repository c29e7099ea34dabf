#!/usr/bin/env bash
# Builds the workbench and runs it with the arguments given: ./kavril.sh --help
set -euo pipefail
cd "$(dirname "$0")"
. scripts/need.sh

need_build_tools node:nodejs npm:npm
need_workbench_libraries
echo "Building ..." >&2
scripts/build.sh release -DBUILD_TESTING=OFF kavril_program

# File names are meant from where it was called.
cd "$OLDPWD"
exec "$(dirname "${BASH_SOURCE[0]}")/build/release/bin/kavril" "$@"
