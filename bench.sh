#!/usr/bin/env bash
# Builds and runs the benchmark: the rows on the smallest network by Google Benchmark, then
# the tables of all networks.
set -euo pipefail
cd "$(dirname "$0")"

usage() {
    cat <<'END'
Usage: ./bench.sh [OPTION...]

  --full            more samples; without it a run takes less than three minutes
  --write           put the tables into docs/performance.md
  --only=NAME       only networks with NAME in their names
  --data=DIR        where the folder repetita with further networks is (../shared/data)
  --benchmark_...   options of Google Benchmark
  --help            this text
END
}

write=false
options=() micro_options=(--benchmark_min_time=0.1)
for option in "$@"; do
    case $option in
        --help) usage; exit ;;
        --write) write=true ;;
        --benchmark_*) micro_options+=("$option") ;;
        *) options+=("$option") ;;
    esac
done

scripts/need.sh core bench
echo "Building ..." >&2
mkdir -p build
{
    cmake -S . -B build/bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DKAVRIL_JAVA=OFF \
        -DKAVRIL_WORKBENCH=OFF -DKAVRIL_BENCH=ON -DBUILD_TESTING=OFF &&
        cmake --build build/bench
} >build/bench.log 2>&1 || {
    cat build/bench.log >&2
    exit 1
}

build/bench/bench/kavril_bench_micro "${micro_options[@]}" examples/data/abilene.txt
tables=$(build/bench/bench/kavril_bench "${options[@]}")
printf '%s\n' "$tables"
if $write; then
    # The rest of the document is written by hand.
    document=docs/performance.md
    {
        sed '/<!-- tables -->/q' $document
        printf '\n%s\n\n' "$tables"
        sed -n '/<!-- end of tables -->/,$p' $document
    } >build/performance.md
    mv build/performance.md $document
fi
