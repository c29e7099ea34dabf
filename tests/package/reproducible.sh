#!/usr/bin/env bash
# reproducible.sh SOURCE-DIR [CMAKE-OPTION...]: builds the jars and the Debian packages twice,
# from two copies of the source in folders of different names, and compares them. Takes as
# long as two builds; -DKAVRIL_WORKBENCH=OFF leaves out the longest part.
set -euo pipefail
source=$1
shift
export PATH=$PATH:/usr/sbin:/sbin LC_ALL=C.UTF-8 CCACHE_DISABLE=1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$source" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH

# cpack writes the modes of its own files into the packages.
umask 022
build() { # FOLDER TIMEZONE CMAKE-OPTION...
    local folder=$work/$1
    export TZ=$2
    shift 2
    git clone --quiet "$source" "$folder/source"
    {
        cmake -S "$folder/source" -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DBUILD_TESTING=OFF "$@" &&
            cmake --build "$folder/build" &&
            cpack -G DEB --config "$folder/build/CPackConfig.cmake" -B "$folder/packages"
    } >"$folder/log" 2>&1 || { tail -n 30 "$folder/log"; exit 1; }
    mkdir "$folder/result"
    cp "$folder"/build/lib/kavril*.jar "$folder"/packages/*.deb "$folder/result"
}
(build one UTC "$@")
(build another-and-longer Asia/Tokyo "$@")
(cd "$work/one/result" && sha256sum ./*) | tee "$work/sums"
cd "$work/another-and-longer/result"
sha256sum --check --quiet "$work/sums"
[ "$(ls)" = "$(ls "$work/one/result")" ]
echo "The same bytes twice"
