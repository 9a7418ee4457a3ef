// The registration row of the batch drivers: rotations only when the solver beat the
// initial RMS; and the weighted RMS of the two directions.
#include "batch/result_rows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "batch/batch_pair.h"
#include "support/sorvek_session.h"

namespace sorvek {
namespace {

const char* const registrationHead = "scan1,rotation2,scan2,rotation2,rms,numpts,num_iters \n";

// Writes with `write` into a fresh result file of `kind` and returns the file's bytes.
template <typename Write>
std::string resultFileText(ResultFileKind kind, Write write) {
    const std::filesystem::path dir = testing::makeScratchDir("result-rows");
    {
        OutputFile file = createResultFile((dir / "rows.csv").string(), kind, nullptr);
        write(file);
    }
    std::string text = testing::readFile(dir / "rows.csv");
    std::filesystem::remove_all(dir);
    return text;
}

TEST(ResultRows, RotationRowOnlyWhenTheSolverBeatsTheInitialRms) {
    struct Case { const char* label; double solverRms; float initialRms; const char* row; };
    const Case cases[] = {
        {"improved", 0.021, 0.05F, "12,0.731200,13,-0.402100,0.021000,1834,7\n"},
        {"equal is no improvement", 0.25, 0.25F, "12,0.000000,13,0.000000,0.250000,1834,7\n"},
        {"worse shows the initial rms", 0.3, 0.05F, "12,0.000000,13,0.000000,0.050000,1834,7\n"},
        {"999 against 999", 999.0, noInitialRms, "12,0.000000,13,0.000000,999.000000,1834,7\n"},
        {"anything below 999 counts", 998.5, noInitialRms, "12,0.731200,13,-0.402100,998.500000,1834,7\n"},
        // 0.1 as a float is slightly above the double 0.1, so the double beats it.
        {"float initial rms widened", 0.1, 0.1F, "12,0.731200,13,-0.402100,0.100000,1834,7\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.label);
        const RegistrationRow row{12, 13, 0.7312, -0.4021, c.solverRms, c.initialRms, 1834, 7};
        EXPECT_EQ(resultFileText(ResultFileKind::registration,
                                 [&](OutputFile& file) { writeRegistrationRow(file, row); }),
                  std::string(registrationHead) + c.row);
    }
}

TEST(WeightedRms, WeighsEachDirectionByItsCountAndWrapsTheSumAsThirtyTwoBits) {
    EXPECT_EQ(weightedRms(0.02, 1000, 0.04, 3000), 0.035);
    EXPECT_TRUE(std::isnan(weightedRms(999.0, 0, 999.0, 0)));
    const std::int32_t most = std::numeric_limits<std::int32_t>::max();
    // The sum wraps to -2 in 32 bits; the weights themselves stay as they are.
    EXPECT_EQ(weightedRms(1.0, most, 1.0, most), (2.0 * most) / -2.0);
}

}  // namespace
}  // namespace sorvek
