// LAS and PLY files as the generator writes them, read back point by point, and damaged
// ones refused with their one line each.
#include "points/exchange_points.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "support/sorvek_session.h"
#include "synth/exchange_writer.h"

namespace sorvek {
namespace {

namespace fs = std::filesystem;
using synth::LasLayout;
using synth::PlyExtras;
using synth::PlyLayout;

// A spiral of 20000 points about a survey-sized origin, a few metres across: more points
// than one chunk holds, and coordinates on both sides of every offset.
Cloud spiralAtSurveyOrigin() {
    Cloud cloud(20000);
    for (std::size_t i = 0; i < cloud.size(); ++i) {
        const double turn = 0.01 * static_cast<double>(i);
        const double radius = 0.5 + (0.0003 * static_cast<double>(i));
        cloud[i] = {512000.0 + (radius * std::cos(turn)), 4200000.0 + (radius * std::sin(turn)),
                    50.0 + (0.37 * std::sin(0.1 * turn)), 0, 0};
    }
    return cloud;
}

struct ReadBack {
    bool isOpened = false;
    std::vector<Point3> points;
    std::string out;  // standard output, the file's path written as @
};

ReadBack readBack(const fs::path& path) {
    ReadBack result;
    ExchangePoints points;
    ::testing::internal::CaptureStdout();
    result.isOpened = openExchangePoints(path.string(), pointFileKindOf(path.string()), points);
    for (auto chunk = nextExchangeChunk(points); !chunk.empty(); chunk = nextExchangeChunk(points)) {
        result.points.insert(result.points.end(), chunk.begin(), chunk.end());
    }
    result.out = ::testing::internal::GetCapturedStdout();
    if (const auto at = result.out.find(path.string()); at != std::string::npos) {
        result.out.replace(at, path.string().size(), "@");
    }
    EXPECT_EQ(points.pointCount, static_cast<std::int32_t>(result.points.size()));
    return result;
}

// Every LAS version, and every point format beside its own version, with and without
// variable-length records and extra bytes: each coordinate comes back as exactly the
// nearest step, the integer times the scale plus the offset.
TEST(LasReader, ReadsEveryFormatAtItsQuantisationWhateverSurroundsThePoints) {
    const Cloud cloud = spiralAtSurveyOrigin();
    const fs::path path = testing::makeScratchDir("las-read") / "scan.las";
    struct Case { std::uint32_t minor, format, extraBytes; std::int32_t vlrs; double scale; };
    const Case cases[] = {{0, 0, 0, 0, 0.001}, {1, 1, 0, 2, 0.0001}, {2, 0, 0, 0, 0.0001}, {2, 1, 0, 2, 0.001},
                          {2, 2, 3, 0, 0.001}, {2, 3, 0, 2, 0.0001}, {3, 5, 0, 1, 0.001},  {4, 1, 0, 1, 0.001},
                          {4, 6, 0, 0, 0.0001}, {4, 7, 0, 2, 0.001}, {4, 8, 1, 0, 0.0001}, {4, 9, 0, 2, 0.001},
                          {4, 10, 0, 2, 0.0001}};
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << "1." << c.minor << " format " << c.format << " vlrs " << c.vlrs);
        const LasLayout layout{.versionMinor = c.minor, .pointFormat = c.format, .extraBytes = c.extraBytes,
                               .vlrCount = c.vlrs, .scale = c.scale, .offsetX = 512000.0, .offsetY = 4200000.0,
                               .offsetZ = 40.0};
        ASSERT_TRUE(synth::writeLasPoints(path, cloud, layout));
        const ReadBack read = readBack(path);
        ASSERT_TRUE(read.isOpened) << read.out;
        ASSERT_EQ(read.points.size(), cloud.size());
        EXPECT_EQ(read.out, "");
        std::size_t wrongCount = 0;
        for (std::size_t i = 0; i < cloud.size(); ++i) {
            const Point3& p = read.points[i];
            if (p.x != synth::lasQuantised(cloud[i].x, c.scale, 512000.0) ||
                p.y != synth::lasQuantised(cloud[i].y, c.scale, 4200000.0) ||
                p.z != synth::lasQuantised(cloud[i].z, c.scale, 40.0)) {
                ++wrongCount;
            }
        }
        EXPECT_EQ(wrongCount, 0U);
    }
    fs::remove_all(path.parent_path());
}

// All three encodings, floats and doubles, with nothing, scalars, or scalars and lists
// around x, y and z and in the elements before and after the vertices. Binary numbers
// come back exactly; text ones as the decimals written, which round to the same float.
TEST(PlyReader, ReadsEveryEncodingWithPropertiesAndListsAroundTheCoordinates) {
    const Cloud cloud = spiralAtSurveyOrigin();
    const fs::path path = testing::makeScratchDir("ply-read") / "scan.ply";
    for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
        for (const PlyExtras extras : {PlyExtras::none, PlyExtras::properties, PlyExtras::lists}) {
            for (const bool isDouble : {true, false}) {
                SCOPED_TRACE(::testing::Message() << format << " extras " << static_cast<int>(extras) << " double " << isDouble);
                ASSERT_TRUE(synth::writePlyPoints(path, cloud, {.format = format, .isDouble = isDouble, .extras = extras}));
                const ReadBack read = readBack(path);
                ASSERT_TRUE(read.isOpened) << read.out;
                ASSERT_EQ(read.points.size(), cloud.size());
                const auto isSame = [&](double got, double written) {
                    const auto asFloat = static_cast<float>(written);
                    if (isDouble) return got == written;
                    return std::string(format) == "ascii" ? static_cast<float>(got) == asFloat
                                                          : got == static_cast<double>(asFloat);
                };
                std::size_t wrongCount = 0;
                for (std::size_t i = 0; i < cloud.size(); ++i) {
                    const Point3& p = read.points[i];
                    if (!isSame(p.x, cloud[i].x) || !isSame(p.y, cloud[i].y) || !isSame(p.z, cloud[i].z)) ++wrongCount;
                }
                EXPECT_EQ(wrongCount, 0U);
            }
        }
    }
    fs::remove_all(path.parent_path());
}

std::string withByte(std::string bytes, std::size_t at, unsigned value) {
    bytes[at] = static_cast<char>(value);
    return bytes;
}

template <typename Value>
std::string withValue(std::string bytes, std::size_t at, Value value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);  // LAS is little-endian, like this machine
    return bytes;
}

const char* const lasRefused = "@ is a LAS file that cannot be read: ";
const char* const plyRefused = "@ is a PLY file that cannot be read: ";

// Each refusal is one line naming the file; no point is handed out. The LAS 1.4 file has
// 100 points of format 6 behind two variable-length records; the LAS 1.2 one has no
// records behind its points, so that cutting its last byte cuts a point.
TEST(ExchangeReader, RefusesLazE57AndHeadersThatDisagreeWithTheirFiles) {
    const fs::path dir = testing::makeScratchDir("exchange-refusals");
    Cloud cloud = spiralAtSurveyOrigin();
    cloud.resize(100);
    ASSERT_TRUE(synth::writeLasPoints(dir / "wide.las", cloud, {.versionMinor = 4, .pointFormat = 6, .vlrCount = 2,
                                                                .offsetX = 512000, .offsetY = 4200000}));
    ASSERT_TRUE(synth::writeLasPoints(dir / "plain.las", cloud, {.offsetX = 512000, .offsetY = 4200000}));
    ASSERT_TRUE(synth::writePlyPoints(dir / "binary.ply", cloud, {.isDouble = false, .extras = PlyExtras::properties}));
    const std::string wide = testing::readFile(dir / "wide.las"), plain = testing::readFile(dir / "plain.las");
    const std::string binary = testing::readFile(dir / "binary.ply");
    const std::string plyHead = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n";
    const std::string listHead = "ply\nformat binary_little_endian 1.0\nelement vertex 2\nproperty list char uchar n\n"
                                 "property float x\nproperty float y\nproperty float z\nend_header\n";
    const std::string threeFloats(12, '\0');
    struct Case { const char* name; std::string bytes, out; };
    const Case cases[] = {
        {"laz", withByte(wide, 104, 0x86), "@ is a compressed LAZ file: decompress it to LAS first \n"},
        {"laz, old mark", withByte(plain, 104, 0x40), "@ is a compressed LAZ file: decompress it to LAS first \n"},
        {"e57", "ASTM-E57" + std::string(40, '\0'), "@ is an E57 file: export its scans to LAS or PLY first \n"},
        {"cut in the header", plain.substr(0, 200), std::string(lasRefused) + "the file ends inside its header \n"},
        {"header past the end", withValue<std::uint16_t>(plain, 94, 60000),
         std::string(lasRefused) + "the file ends inside its header \n"},
        {"version 2.4", withByte(wide, 24, 2), std::string(lasRefused) + "version 2.4 is not one of 1.0 to 1.4 \n"},
        {"version 1.5", withByte(wide, 25, 5), std::string(lasRefused) + "version 1.5 is not one of 1.0 to 1.4 \n"},
        {"1.4 header of 1.3", withValue<std::uint16_t>(wide, 94, 235),
         std::string(lasRefused) + "a header of 235 bytes is too small for LAS 1.4 \n"},
        {"format 11", withByte(wide, 104, 11), std::string(lasRefused) + "point data format 11 is not one of 0 to 10 \n"},
        {"short records", withValue<std::uint16_t>(wide, 105, 29),
         std::string(lasRefused) + "point records of 29 bytes are too short for format 6 \n"},
        {"data in the header", withValue<std::uint32_t>(wide, 96, 300),
         std::string(lasRefused) + "the point data starts inside the header \n"},
        {"counts differ", withValue<std::uint32_t>(wide, 107, 99), std::string(lasRefused) + "its two point counts differ \n"},
        {"too many", withValue<std::uint64_t>(wide, 247, 2147483648U),
         std::string(lasRefused) + "2147483648 points are more than one scan may hold \n"},
        {"last point cut", plain.substr(0, plain.size() - 1),
         std::string(lasRefused) + "the header promises 100 points, the file holds 99 \n"},
        {"zero scale", withValue(plain, 139, 0.0), std::string(lasRefused) + "a scale or offset is not a usable number \n"},
        {"offset not a number", withValue(plain, 171, std::nan("")),
         std::string(lasRefused) + "a scale or offset is not a usable number \n"},
        {"no end_header", "ply\nformat ascii 1.0\nelement vertex 0\n", std::string(plyRefused) + "its header has no end_header line \n"},
        {"unknown line", "ply\nformat ascii 1.0\ncolour red\nend_header\n",
         std::string(plyRefused) + "header line 3 is not a PLY header line \n"},
        {"property first", "ply\nformat ascii 1.0\nproperty float x\nend_header\n",
         std::string(plyRefused) + "header line 3 is not a PLY header line \n"},
        {"unknown type", plyHead + "property half z\nend_header\n", std::string(plyRefused) + "header line 6 is not a PLY header line \n"},
        {"middle endian", "ply\nformat binary_middle_endian 1.0\nend_header\n",
         std::string(plyRefused) + "its format is not ascii, binary_little_endian or binary_big_endian 1.0 \n"},
        {"no format", "ply\nelement vertex 0\nend_header\n",
         std::string(plyRefused) + "its format is not ascii, binary_little_endian or binary_big_endian 1.0 \n"},
        {"no vertex", "ply\nformat ascii 1.0\nelement point 0\nproperty float x\nend_header\n",
         std::string(plyRefused) + "it has no vertex element \n"},
        {"no z", plyHead + "end_header\n", std::string(plyRefused) + "its vertices have no x, y or z \n"},
        {"whole numbers", plyHead + "property int z\nend_header\n", std::string(plyRefused) + "its x, y and z are not all float or double \n"},
        {"too many vertices", "ply\nformat ascii 1.0\nelement vertex 2147483648\nproperty float x\nproperty float y\n"
                              "property float z\nend_header\n",
         std::string(plyRefused) + "2147483648 vertices are more than one scan may hold \n"},
        {"binary cut", binary.substr(0, binary.size() - 20), std::string(plyRefused) + "its 100 vertices run past the end of the file \n"},
        {"text cut", plyHead + "property float z\nend_header\n1 2 3\n4 5 6\n7 8\n",
         std::string(plyRefused) + "the file ends after 2 of its 3 vertices \n"},
        {"text not a number", plyHead + "property float z\nend_header\n1 2 3\n4 5 six\n7 8 9\n",
         std::string(plyRefused) + "item 2 of element vertex holds something that is not a number \n"},
        {"negative list", listHead + std::string(1, '\2') + "ab" + threeFloats + "\xff" + threeFloats,
         std::string(plyRefused) + "item 2 of element vertex holds something that is not a number \n"},
        {"list cut", listHead + std::string(1, '\3') + "ab" + threeFloats, std::string(plyRefused) + "the file ends after 0 of its 2 vertices \n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path path = dir / (std::string(c.name) + ".scan");
        testing::writeFile(path, c.bytes);
        const ReadBack read = readBack(path);
        EXPECT_FALSE(read.isOpened);
        EXPECT_EQ(read.out, c.out);
        EXPECT_TRUE(read.points.empty());
    }
    fs::remove_all(dir);
}

}  // namespace
}  // namespace sorvek
