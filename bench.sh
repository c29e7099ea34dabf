#!/usr/bin/env bash
# Builds and runs the benchmark: the rows on the smallest network by Google Benchmark, then
# the tables; or one row alone.
set -euo pipefail
cd "$(dirname "$0")"

usage() {
    cat <<'END'
Usage: ./bench.sh [OPTION...]

  --full            more samples, and more time for what is given up otherwise
  --write           put the tables into docs/performance.md
  --only=NAME       only networks and rows of the last tables with NAME in their names
  --row=NAME        only this row, and nothing in child processes (for perf or valgrind:
                    build/bench/bench/kavril_bench takes the same options); a row that
                    networks share is measured on the first network that --only leaves
  --repeat=N        how often (100); large work is done once
  --data=DIR        where the folder repetita with further networks is (../shared/data)
  --benchmark_...   options of Google Benchmark
  --help            this text
END
}

write=false
alone=false
options=() micro_options=(--benchmark_min_time=0.1)
for option in "$@"; do
    case $option in
        --help) usage; exit ;;
        --write) write=true ;;
        --row=*) alone=true; options+=("$option") ;;
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

$alone || build/bench/bench/kavril_bench_micro "${micro_options[@]}" examples/data/abilene.txt
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
