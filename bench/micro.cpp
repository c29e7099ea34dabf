// The rows on one small network, by Google Benchmark:
//
//     kavril_bench_micro [--benchmark_...] NETWORK
#include <benchmark/benchmark.h>

#include <cstdio>

#include "rows.h"

namespace {

std::vector<std::function<void()>> checks;

void run(benchmark::State& state, Rig* rig, const Row* row) {
    double floorSeconds = 0.0;
    for (auto _ : state) {
        const Sample sample = row->measure(*rig);
        state.SetIterationTime(sample.seconds);
        floorSeconds += sample.floorSeconds;
        checks.push_back(sample.verify);
    }
    if (floorSeconds > 0.0)
        state.counters["floor"] = {floorSeconds, benchmark::Counter::kAvgIterations};
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fputs("Usage: kavril_bench_micro [--benchmark_...] NETWORK\n", stderr);
        return 1;
    }
    configure();
    const Network network = readExample(argv[1]);
    Rig rig(network, {2000});
    for (const Row& row : kRows)
        benchmark::RegisterBenchmark(row.name, run, &rig, &row)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    for (const auto& verify : checks) verify();
}
