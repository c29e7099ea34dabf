# Sourced by run.sh and test.sh: installs what a Debian machine is missing.
#
#     need THING:PACKAGE...    THING is a command, or the path of a file of the package

need() {
    local item missing=()
    for item in "$@"; do
        local thing=${item%%:*} package=${item#*:}
        command -v "$thing" >/dev/null || [ -e "$thing" ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return

    echo "Installing: ${missing[*]}"
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Please install these packages first: ${missing[*]}" >&2
            exit 1
        }
        root=(sudo)
    fi
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive sh -c '
        apt-get update -q && apt-get install -q -y --no-install-recommends "$@"' \
        install "${missing[@]}" >&2
}

# What the workbench needs besides.
need_workbench_libraries() {
    need pkg-config:pkg-config /usr/include/CLI/CLI.hpp:libcli11-dev \
        /usr/include/nlohmann/json.hpp:nlohmann-json3-dev \
        /usr/include/pugixml.hpp:libpugixml-dev /usr/include/fmt/core.h:libfmt-dev \
        /usr/include/boost/graph/graph_traits.hpp:libboost-dev \
        /usr/include/graphviz/cgraph.h:libgraphviz-dev
}

# What every build needs.
need_build_tools() {
    need c++:g++ cmake:cmake ninja:ninja-build javac:default-jdk-headless "$@"
}
