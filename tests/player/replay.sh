#!/usr/bin/env bash
# replay.sh kavril_play FROM TO FOLDER COMMAND...: has COMMAND make the calls of these seeds,
# in a virtual machine, say, and compares what comes of them with the record of the twin's
# results.
set -euo pipefail
play=$1 from=$2 to=$3 folder=$4
shift 4
mkdir -p "$folder"
"$play" --record "$from" "$to" >"$folder/record"
"$@" <"$folder/record" 2>&1 | LC_ALL=C sed -E 's/ at line [0-9]+/ at line #/; s/-nan/nan/g' \
    >"$folder/replayed"
cmp "$folder/record" "$folder/replayed"
