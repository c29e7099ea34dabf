#!/usr/bin/env bash
# package.sh PACKAGE FOLDER: packs the package, installs it in a project in the folder and
# runs the example of its README there.
set -euo pipefail
package=$1 folder=$2
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"
npm pack --silent "$package"
npm install --silent --offline --no-audit --no-fund ./kavril-*.tgz
sed -n '/^```js$/,/^```$/p' node_modules/kavril/README.md | sed '/^```/d' >example.mjs
[ -s example.mjs ]
# What the example says that it prints, and why the second request is refused.
said=$(node example.mjs)
[ "$(head -n 1 <<<"$said")" = "$(sed -n 's|.*backup.route); // ||p' example.mjs)" ]
[[ $said == *"finds no way from 0 to 2"* ]]
