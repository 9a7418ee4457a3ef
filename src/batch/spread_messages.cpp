#include "batch/spread_messages.h"

#include <cstring>
#include <type_traits>

namespace sorvek {
namespace {

static_assert(std::is_trivially_copyable_v<RunOptions>);
static_assert(std::is_trivially_copyable_v<PlannedPair>);

template <typename T>
void put(std::string& bytes, const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    const char* first = reinterpret_cast<const char*>(&value);
    bytes.append(first, sizeof value);
}

void putText(std::string& bytes, std::string_view text) {
    put(bytes, static_cast<std::uint64_t>(text.size()));
    bytes.append(text);
}

// Reads fields back in the order they were put; any read past the end fails the message.
struct ByteReader {
    std::string_view rest;
    bool isIntact = true;
};

template <typename T>
T take(ByteReader& reader) {
    T value{};
    if (!reader.isIntact || reader.rest.size() < sizeof value) {
        reader.isIntact = false;
        return value;
    }
    std::memcpy(&value, reader.rest.data(), sizeof value);
    reader.rest.remove_prefix(sizeof value);
    return value;
}

std::string takeText(ByteReader& reader) {
    const auto length = take<std::uint64_t>(reader);
    if (!reader.isIntact || reader.rest.size() < length) {
        reader.isIntact = false;
        return {};
    }
    std::string text(reader.rest.substr(0, length));
    reader.rest.remove_prefix(length);
    return text;
}

bool isWhole(const ByteReader& reader) { return reader.isIntact && reader.rest.empty(); }

// Flags and choices travel as one byte each, so that a damaged byte can be refused
// instead of becoming a bool or an enum that holds no valid value.
void putByte(std::string& bytes, std::uint8_t value) { put(bytes, value); }

bool takeFlag(ByteReader& reader) {
    const auto value = take<std::uint8_t>(reader);
    if (value > 1) reader.isIntact = false;
    return value == 1;
}

std::uint8_t takeChoice(ByteReader& reader, std::uint8_t choiceCount) {
    const auto value = take<std::uint8_t>(reader);
    if (value >= choiceCount) reader.isIntact = false;
    return value;
}

void putScan(std::string& bytes, const ScanRecord& scan) {
    for (const double value :
         {scan.gpsX, scan.gpsY, scan.gpsZ, scan.rotX, scan.rotY, scan.rotZ, scan.northDist,
          scan.southDist, scan.northRotation, scan.southRotation}) {
        put(bytes, value);
    }
    for (const std::int32_t value : {scan.scanId, scan.subId, scan.northScan, scan.southScan,
                                     scan.northPoints, scan.southPoints}) {
        put(bytes, value);
    }
    putText(bytes, scan.fileName);
}

ScanRecord takeScan(ByteReader& reader) {
    ScanRecord scan;
    for (double* value :
         {&scan.gpsX, &scan.gpsY, &scan.gpsZ, &scan.rotX, &scan.rotY, &scan.rotZ, &scan.northDist,
          &scan.southDist, &scan.northRotation, &scan.southRotation}) {
        *value = take<double>(reader);
    }
    for (std::int32_t* value : {&scan.scanId, &scan.subId, &scan.northScan, &scan.southScan,
                                &scan.northPoints, &scan.southPoints}) {
        *value = take<std::int32_t>(reader);
    }
    scan.fileName = takeText(reader);
    return scan;
}

}  // namespace

std::string encodeJobSetup(const JobSetup& setup) {
    std::string bytes;
    putByte(bytes, static_cast<std::uint8_t>(setup.kind));
    put(bytes, setup.options);
    put(bytes, setup.runMode);
    putByte(bytes, setup.rmsPhase ? 1 : 0);
    put(bytes, setup.progressScans);
    put(bytes, setup.percentStep);
    put(bytes, setup.threadCount);
    put(bytes, static_cast<std::uint64_t>(setup.scans.size()));
    for (const ScanRecord& scan : setup.scans) putScan(bytes, scan);
    return bytes;
}

std::optional<JobSetup> decodeJobSetup(std::string_view bytes) {
    ByteReader reader{bytes};
    JobSetup setup;
    setup.kind = static_cast<PassKind>(takeChoice(reader, 3));
    setup.options = take<RunOptions>(reader);
    setup.runMode = take<std::int32_t>(reader);
    setup.rmsPhase = takeFlag(reader);
    setup.progressScans = take<std::int32_t>(reader);
    setup.percentStep = take<double>(reader);
    setup.threadCount = take<std::int32_t>(reader);
    if (setup.threadCount < 1 || setup.threadCount > mostThreads) reader.isIntact = false;
    const auto scanCount = take<std::uint64_t>(reader);
    // Each scan takes far more than one byte, so a count beyond the bytes left is a lie.
    if (!reader.isIntact || scanCount > reader.rest.size()) return std::nullopt;
    for (std::uint64_t i = 0; i < scanCount && reader.isIntact; ++i) {
        setup.scans.push_back(takeScan(reader));
    }
    if (!isWhole(reader)) return std::nullopt;
    return setup;
}

std::string encodePairTask(const PairTask& task) {
    std::string bytes;
    put(bytes, task.pairNumber);
    put(bytes, task.pair);
    put(bytes, task.pairsDone);
    return bytes;
}

std::optional<PairTask> decodePairTask(std::string_view bytes) {
    ByteReader reader{bytes};
    PairTask task;
    task.pairNumber = take<std::int32_t>(reader);
    task.pair = take<PlannedPair>(reader);
    task.pairsDone = take<std::int32_t>(reader);
    if (!isWhole(reader)) return std::nullopt;
    return task;
}

std::string encodePairResult(const PairResult& result) {
    std::string bytes;
    put(bytes, result.pairNumber);
    put(bytes, result.pairsDone);
    putByte(bytes, result.isDone ? 1 : 0);
    put(bytes, result.seconds);
    putByte(bytes, static_cast<std::uint8_t>(result.ending));
    put(bytes, result.exitCode);
    putText(bytes, result.captured);
    return bytes;
}

std::optional<PairResult> decodePairResult(std::string_view bytes) {
    ByteReader reader{bytes};
    PairResult result;
    result.pairNumber = take<std::int32_t>(reader);
    result.pairsDone = take<std::int32_t>(reader);
    result.isDone = takeFlag(reader);
    result.seconds = take<double>(reader);
    result.ending = static_cast<RunEnding>(takeChoice(reader, 3));
    result.exitCode = take<std::int32_t>(reader);
    result.captured = takeText(reader);
    if (!isWhole(reader)) return std::nullopt;
    return result;
}

}  // namespace sorvek
