#!/usr/bin/env bash
# package.sh SOURCE-DIR PACKAGE FOLDER: packs the package, installs it in a project in the
# folder and runs the examples of the READMEs there.
set -euo pipefail
source=$1 package=$2 folder=$3
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
npm pack --silent "$package"
npm install --silent --offline --no-audit --no-fund ./kavril-*.tgz
for readme in "$source/README.md" node_modules/kavril/README.md; do
    sed -n '/^```js$/,/^```$/p' "$readme" | sed '/^```/d' >example.mjs
    # Lines that an example prints, it says itself.
    expected=$(sed -n 's|^console.log(.*; // ||p' example.mjs)
    actual=$(node example.mjs | grep -Fx "${expected:?}") || true
    [ "$actual" = "$expected" ] || {
        echo "The example of $readme prints '$actual'" >&2
        exit 1
    }
done
