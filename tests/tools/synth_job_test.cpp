// The files of a generated job: database rows as the program reads them, point files of
// the stated size, the stated heading errors, and the same bytes for the same seed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/sorvek_session.h"
#include "survey/database_reader.h"
#include "synth/synth.h"

namespace {

namespace fs = std::filesystem;
using sorvek::synth::SurveySpec;

SurveySpec smallLine() {
    SurveySpec surveySpec;
    surveySpec.scans = 4;
    surveySpec.points = 3000;
    surveySpec.spacing = 12.0;
    surveySpec.errorDeg = 0.8;
    surveySpec.seed = 7;
    surveySpec.name = "street";
    return surveySpec;
}

fs::path writeJob(const SurveySpec& surveySpec, const std::string& label) {
    const fs::path dir = sorvek::testing::makeScratchDir(label);
    std::string error;
    EXPECT_TRUE(sorvek::synth::writeSurvey(surveySpec, dir, error)) << error;
    return dir;
}

std::vector<std::string> linesOf(const fs::path& path) {
    std::istringstream in(sorvek::testing::readFile(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// One database row, read with the program's separators: nine values, the name last.
struct Row {
    double values[6] = {};
    int scanId = 0;
    int subId = 0;
    std::string name;
};

std::vector<Row> readDatabase(const fs::path& path) {
    std::vector<Row> rows;
    const std::vector<std::string> lines = linesOf(path);
    for (std::size_t index = 1; index < lines.size(); ++index) {
        Row row;
        char name[16] = {};
        int used = 0;
        const int fields = std::sscanf(lines[index].c_str(), "%lf,%lf,%lf,%lf,%lf,%lf,%d,%d,%15s%n",
                                       &row.values[0], &row.values[1], &row.values[2], &row.values[3],
                                       &row.values[4], &row.values[5], &row.scanId, &row.subId, name, &used);
        EXPECT_EQ(fields, 9) << lines[index];
        EXPECT_EQ(static_cast<std::size_t>(used), lines[index].size()) << lines[index];
        row.name = name;
        rows.push_back(row);
    }
    return rows;
}

// The truth file as rows of named columns.
std::vector<std::map<std::string, double>> readTruth(const fs::path& path) {
    const std::vector<std::string> lines = linesOf(path);
    std::vector<std::string> names;
    std::istringstream head(lines.at(0));
    for (std::string name; std::getline(head, name, ',');) names.push_back(name);
    std::vector<std::map<std::string, double>> rows;
    for (std::size_t index = 1; index < lines.size(); ++index) {
        std::istringstream cells(lines[index]);
        std::map<std::string, double> row;
        std::string cell;
        for (std::size_t column = 0; std::getline(cells, cell, ','); ++column) {
            row[names.at(column)] = column == 2 ? 0.0 : std::stod(cell);
        }
        rows.push_back(row);
    }
    return rows;
}

std::string optionValue(const fs::path& optionFile, const std::string& key) {
    for (const std::string& line : linesOf(optionFile)) {
        if (line.rfind(key + " ", 0) == 0) return line.substr(key.size() + 1);
    }
    return "(missing)";
}

TEST(SynthJob, DatabaseRowsNameTheBinaryFilesThatHoldTheirPoints) {
    const SurveySpec surveySpec = smallLine();
    const fs::path dir = writeJob(surveySpec, "synth-format");
    EXPECT_EQ(linesOf(dir / "street.txt").at(0), "X,Y,Z,rotX,rotY,rotZ,id,subid,name");
    const std::vector<Row> rows = readDatabase(dir / "street.txt");
    ASSERT_EQ(rows.size(), 4U);
    for (const Row& row : rows) {
        const std::string composed =
            sorvek::composeScanFileName((dir / "street").string(), 1, row.scanId, row.subId, row.name);
        SCOPED_TRACE(composed);
        ASSERT_TRUE(fs::exists(composed));
        EXPECT_EQ(fs::file_size(composed), 32U * 3000U);
    }
    fs::remove_all(dir);
}

TEST(SynthJob, TextFilesRepeatTheBinaryPoints) {
    SurveySpec surveySpec = smallLine();
    surveySpec.scans = 1;
    surveySpec.text = true;
    const fs::path dir = writeJob(surveySpec, "synth-text");
    const std::vector<std::string> lines = linesOf(dir / "street_001_001_S001.txt");
    ASSERT_EQ(lines.size(), 3001U);
    EXPECT_EQ(lines[0], "#X,Y,Z");
    const std::string binary = sorvek::testing::readFile(dir / "street_001_001_S001.bxyz");
    for (const std::size_t pointIndex : {std::size_t{0}, std::size_t{1234}, std::size_t{2999}}) {
        sorvek::PointRecord point;
        std::copy_n(binary.data() + (pointIndex * 32), 32, reinterpret_cast<char*>(&point));
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        ASSERT_EQ(std::sscanf(lines[pointIndex + 1].c_str(), "%lf,%lf,%lf", &x, &y, &z), 3);
        EXPECT_NEAR(x, point.x, 5.0e-7);
        EXPECT_NEAR(y, point.y, 5.0e-7);
        EXPECT_NEAR(z, point.z, 5.0e-7);
    }
    fs::remove_all(dir);
}

TEST(SynthJob, DatabaseCarriesTrueHeadingPlusTheStatedErrorAndScannerZLessItsHeight) {
    const SurveySpec surveySpec = smallLine();
    const fs::path dir = writeJob(surveySpec, "synth-truth");
    const std::vector<Row> rows = readDatabase(dir / "street.txt");
    const auto truth = readTruth(dir / "street_truth.csv");
    ASSERT_EQ(truth.size(), rows.size());
    double largestError = 0.0;
    for (std::size_t index = 0; index < rows.size(); ++index) {
        SCOPED_TRACE(index);
        const double errorDeg = truth[index].at("headingErrorDeg");
        EXPECT_LE(std::abs(errorDeg), surveySpec.errorDeg);
        EXPECT_NEAR(rows[index].values[5] - truth[index].at("trueHeadingDeg"), errorDeg, 1.0e-9);
        EXPECT_NEAR(truth[index].at("z") - rows[index].values[2], 0.29, 1.0e-9);
        EXPECT_EQ(rows[index].values[0], truth[index].at("x"));
        largestError = std::max(largestError, std::abs(errorDeg));
    }
    EXPECT_GT(largestError, 0.1);  // the errors are really there
    fs::remove_all(dir);
}

TEST(SynthJob, SameSeedGivesTheSameBytesInEveryFile) {
    SurveySpec surveySpec = smallLine();
    surveySpec.text = true;
    const fs::path first = writeJob(surveySpec, "synth-same-a");
    const fs::path second = writeJob(surveySpec, "synth-same-b");
    surveySpec.seed = 8;
    const fs::path other = writeJob(surveySpec, "synth-same-c");
    std::size_t fileCount = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(first)) {
        const fs::path name = entry.path().filename();
        SCOPED_TRACE(name.string());
        EXPECT_EQ(sorvek::testing::readFile(entry.path()), sorvek::testing::readFile(second / name));
        ++fileCount;
    }
    EXPECT_EQ(fileCount, 4U + 4U + 3U);  // points twice per scan, database, truth, options
    EXPECT_NE(sorvek::testing::readFile(first / "street_001_001_S001.bxyz"),
              sorvek::testing::readFile(other / "street_001_001_S001.bxyz"));
    for (const fs::path& dir : {first, second, other}) fs::remove_all(dir);
}

TEST(SynthJob, LineRunsTheWayAskedWithNeighboursInsideTheSearchDistance) {
    struct Case {
        const char* direction;
        double alongX;
        double alongY;
        const char* dataDir;
    };
    for (const Case c : {Case{"north", 0, 1, "0"}, Case{"south", 0, -1, "0"}, Case{"east", 1, 0, "1"},
                         Case{"west", -1, 0, "1"}}) {
        SCOPED_TRACE(c.direction);
        SurveySpec surveySpec = smallLine();
        surveySpec.points = 100;
        surveySpec.direction = c.direction;
        surveySpec.offsetX = 512000.25;
        surveySpec.offsetY = -4100.5;
        const fs::path dir = writeJob(surveySpec, "synth-line");
        EXPECT_EQ(optionValue(dir / "sorvek.txt", "DATADIR"), c.dataDir);
        EXPECT_EQ(optionValue(dir / "sorvek.txt", "TRANSX"), "512000.250000");
        EXPECT_EQ(optionValue(dir / "sorvek.txt", "TRANSY"), "-4100.500000");
        const double searchDistance = std::stod(optionValue(dir / "sorvek.txt", "GPSMAXDIST"));
        const std::vector<Row> rows = readDatabase(dir / "street.txt");
        for (std::size_t index = 1; index < rows.size(); ++index) {
            const double dx = rows[index].values[0] - rows[index - 1].values[0];
            const double dy = rows[index].values[1] - rows[index - 1].values[1];
            const double step = (dx * c.alongX) + (dy * c.alongY);
            EXPECT_GE(step, 0.85 * surveySpec.spacing);
            EXPECT_LE(step, 1.15 * surveySpec.spacing);
            EXPECT_LT(std::hypot(dx, dy), searchDistance);
            if (index >= 2) {  // the scan beyond the neighbour is out of reach
                EXPECT_GT(std::hypot(rows[index].values[0] - rows[index - 2].values[0],
                                     rows[index].values[1] - rows[index - 2].values[1]),
                          searchDistance);
            }
        }
        fs::remove_all(dir);
    }
}

TEST(SynthJob, RefusesASpecOutsideItsRangesWithoutWriting) {
    SurveySpec surveySpec = smallLine();
    surveySpec.scans = 0;
    const fs::path dir = sorvek::testing::makeScratchDir("synth-refuse") / "job";
    std::string error;
    EXPECT_FALSE(sorvek::synth::writeSurvey(surveySpec, dir, error));
    EXPECT_EQ(error, "--scans must lie between 1 and 9999");
    EXPECT_FALSE(fs::exists(dir));
    fs::remove_all(dir.parent_path());
}

}  // namespace
