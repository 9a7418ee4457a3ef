// What rank 0 of sorvek-mpi spends on one pair besides the message itself: decoding the
// result, the ledger's bookkeeping, and writing the pair's console text, log line and row
// out through the C streams (to /dev/null here, buffered as the real files are). The text
// is caught the way a computing rank catches it, one piece per console line, in three
// sizes: an evaluation pair (about 1 KB of console text), a registration pair with the
// default solver (about 8 KB) and a long one (64 KB).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "batch/pair_capture.h"
#include "batch/pair_ledger.h"
#include "batch/spread_messages.h"

namespace sorvek {
namespace {

std::string capturedPairText(std::size_t consoleBytes) {
    PairCapture capture;
    if (!openPairCapture(capture)) return {};
    const std::string line = "Percent Complete 12.500000 RMSmin = 0.041234 DistThresh: 0.25";
    for (std::size_t written = 0; written < consoleBytes; written += line.size() + 1) {
        std::fprintf(capture.console.get(), "%s\n", line.c_str());
    }
    std::fprintf(capture.errors.get(), "300000 points successfully loaded! \n");
    std::fprintf(capture.rows.file.get(), "1,0.412000,2,-0.118000,0.012345,14221,0\n");
    return takeCapturedText(capture);
}

void ownerPerPair(benchmark::State& state) {
    const auto consoleBytes = static_cast<std::size_t>(state.range(0));
    PairResult computed;
    computed.isDone = true;
    computed.captured = capturedPairText(consoleBytes);
    const FileHandle console(std::fopen("/dev/null", "w"));
    const FileHandle errors(std::fopen("/dev/null", "w"));
    const FileHandle rows(std::fopen("/dev/null", "w"));
    const CaptureTargets targets{console.get(), errors.get(), nullptr, rows.get()};
    // The results of one ledger's pairs are encoded beforehand: that is the computing
    // rank's work, not the owner's.
    constexpr std::size_t pairsPerLedger = 1024;
    std::vector<std::string> messages;
    for (std::size_t i = 0; i < pairsPerLedger; ++i) {
        computed.pairNumber = static_cast<std::int32_t>(i);
        computed.pairsDone = static_cast<std::int32_t>(i);
        messages.push_back(encodePairResult(computed));
    }
    PairLedger ledger;
    std::size_t pairNumber = pairsPerLedger;
    for (auto _ : state) {
        if (pairNumber == pairsPerLedger) {
            state.PauseTiming();
            ledger = startLedger(std::vector<PlannedPair>(pairsPerLedger), 0, true);
            pairNumber = 0;
            state.ResumeTiming();
        }
        benchmark::DoNotOptimize(nextTask(ledger));
        recordResult(ledger, *decodePairResult(messages[pairNumber]));
        const std::optional<PairResult> result = takeWritable(ledger);
        benchmark::DoNotOptimize(replayCapturedText(result->captured, targets));
        std::fflush(rows.get());
        std::fflush(console.get());
        ++pairNumber;
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(computed.captured.size()));
}

BENCHMARK(ownerPerPair)->Arg(1 << 10)->Arg(8 << 10)->Arg(64 << 10);

}  // namespace
}  // namespace sorvek

BENCHMARK_MAIN();
