#pragma once
// The files of a job: database, point files, truth and option file.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "synth/synth.h"

namespace sorvek::synth {

// The name the program composes at ZEROPAD 1 (stem_<pad>scanId_<pad>subId_name.bxyz),
// with `extension` in place of ".bxyz".
std::string scanFileName(const std::string& stem, std::int32_t scanId, std::int32_t subId,
                         const std::string& name, const char* extension);

// Writes the database rows for `poses`. False when the file cannot be written.
bool writeDatabase(const std::filesystem::path& path, const std::vector<ScanPose>& poses);

// One scan's points as 32-byte records. False when the file cannot be written whole.
bool writeBinaryPoints(const std::filesystem::path& path, const Cloud& cloud);

// The same points as "x,y,z" lines behind a "#X,Y,Z" head line.
bool writeTextPoints(const std::filesystem::path& path, const Cloud& cloud);

bool writeTruth(const std::filesystem::path& path, const std::vector<ScanPose>& poses);

// The option file that suits the job: neighbour distances, line direction, translation.
bool writeOptionFile(const std::filesystem::path& path, const SurveySpec& surveySpec);

// writeSurvey with a line per scan on `progress` (no lines when it is null).
bool writeSurvey(const SurveySpec& surveySpec, const std::filesystem::path& outDir,
                 std::string& error, std::FILE* progress);

}  // namespace sorvek::synth
