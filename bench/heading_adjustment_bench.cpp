// The adjustment over all pairs on square sites of 100 to 900 scans: every scan paired with
// its eight grid neighbours, relative headings a few thousandths off, one pair in fifty
// failed by half a degree, so that the robust loop solves the network once per failed
// pair. The numbers are made by formula, the same in every run.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "output/heading_adjustment.h"

namespace sorvek::bench {
namespace {

struct SiteTable {
    std::vector<std::int32_t> scanIds;
    std::vector<RegistrationPair> rows;
};

SiteTable squareSite(std::int32_t side) {
    SiteTable site;
    for (std::int32_t id = 0; id < side * side; ++id) site.scanIds.push_back(id + 1);
    const auto truthDeg = [](std::int32_t id) { return std::sin(static_cast<double>(id) * 0.7); };
    for (std::int32_t row = 0; row < side; ++row) {
        for (std::int32_t column = 0; column < side; ++column) {
            const std::int32_t first = (row * side) + column + 1;
            const std::int32_t neighbours[] = {first + 1, first + side - 1, first + side,
                                               first + side + 1};
            const bool fits[] = {column + 1 < side, row + 1 < side && column > 0, row + 1 < side,
                                 row + 1 < side && column + 1 < side};
            for (std::size_t k = 0; k < 4; ++k) {
                if (!fits[k]) continue;
                const auto index = static_cast<double>(site.rows.size());
                const double noiseDeg = 0.005 * std::sin(index * 1.3);
                const double failDeg = site.rows.size() % 50 == 17 ? 0.5 : 0.0;
                const double rms = 0.012 + (0.004 * std::cos(index));
                site.rows.push_back({first, truthDeg(first) + noiseDeg + failDeg, neighbours[k],
                                     truthDeg(neighbours[k]) - noiseDeg, rms, 4000});
            }
        }
    }
    return site;
}

void adjustSquareSite(benchmark::State& state) {
    const SiteTable site = squareSite(static_cast<std::int32_t>(state.range(0)));
    std::int64_t rejected = 0;
    for (auto _ : state) {
        const HeadingAdjustment adjustment = adjustHeadings(site.scanIds, site.rows);
        rejected = 0;
        for (const AdjustedPair& pair : adjustment.pairs)
            rejected += pair.status != PairStatus::accepted ? 1 : 0;
        benchmark::DoNotOptimize(adjustment.scans.data());
    }
    state.counters["scans"] = static_cast<double>(site.scanIds.size());
    state.counters["pairs"] = static_cast<double>(site.rows.size());
    state.counters["rejected"] = static_cast<double>(rejected);
}

BENCHMARK(adjustSquareSite)
    ->Arg(10)
    ->Arg(20)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
}  // namespace sorvek::bench

BENCHMARK_MAIN();
