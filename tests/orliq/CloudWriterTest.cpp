// SPDX-License-Identifier: Apache-2.0
#include "orliq/CloudWriter.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

#include "orliq/ExitCode.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A header of "KEYWORD values" lines up to and with `end`, and the bytes behind it.
struct ParsedFile {
  std::vector<std::string> lines;
  std::string body;

  /// What stands behind every line that begins with `keyword`.
  std::vector<std::string> Values(const std::string& keyword) const {
    std::vector<std::string> values;
    for (const std::string& line : lines) {
      if (line.rfind(keyword + ' ', 0) == 0) values.push_back(line.substr(keyword.size() + 1));
    }
    return values;
  }
};

ParsedFile Parse(const std::string& bytes, const std::string& end) {
  ParsedFile parsed;
  std::size_t at = 0;
  while (parsed.lines.empty() || parsed.lines.back() != end) {
    const std::size_t stop = bytes.find('\n', at);
    if (stop == std::string::npos) return parsed;
    parsed.lines.push_back(bytes.substr(at, stop - at));
    at = stop + 1;
  }
  parsed.body = bytes.substr(at);
  return parsed;
}

template <typename T>
T At(const std::string& bytes, std::size_t position) {
  T value;
  std::memcpy(&value, bytes.data() + position, sizeof(value));
  return value;
}

/// Two points; only fields that every type has are set on the first.
template <typename T>
PointCloud<T> TwoPoints() {
  PointCloud<T> cloud;
  cloud.timestamp = 1700000000.25;
  T point;
  point.x = 1.5F;
  point.y = -0.1F;
  point.z = 3e-8F;
  point.intensity = 65535;
  point.ring = 191;
  cloud.points = {T(), point};
  return cloud;
}

struct Expected {
  std::string fields, size, type, count;
  std::vector<std::string> ply;
  std::string csv;
};

/// Writes the cloud in all formats and compares every byte behind the headers with the records.
template <typename T>
void ExpectFiles(const PointCloud<T>& cloud, const Expected& expected) {
  const test::TempDir dir;
  WriteCloud(dir / "c.pcd", CloudFormat::kPcd, View(cloud));
  WriteCloud(dir / "c.ply", CloudFormat::kPly, View(cloud));
  WriteCloud(dir / "c.csv", CloudFormat::kCsv, View(cloud));
  const std::string records(reinterpret_cast<const char*>(cloud.points.data()), 2 * sizeof(T));

  const ParsedFile pcd = Parse(ReadAll(dir / "c.pcd"), "DATA binary");
  EXPECT_THAT(pcd.Values("VERSION"), ElementsAre("0.7"));
  EXPECT_THAT(pcd.Values("FIELDS"), ElementsAre(expected.fields));
  EXPECT_THAT(pcd.Values("SIZE"), ElementsAre(expected.size));
  EXPECT_THAT(pcd.Values("TYPE"), ElementsAre(expected.type));
  EXPECT_THAT(pcd.Values("COUNT"), ElementsAre(expected.count));
  EXPECT_THAT(pcd.Values("WIDTH"), ElementsAre("2"));
  EXPECT_THAT(pcd.Values("HEIGHT"), ElementsAre("1"));
  EXPECT_THAT(pcd.Values("POINTS"), ElementsAre("2"));
  EXPECT_EQ(pcd.body, records);

  const ParsedFile ply = Parse(ReadAll(dir / "c.ply"), "end_header");
  EXPECT_EQ(ply.lines.front(), "ply");
  EXPECT_THAT(ply.Values("format"), ElementsAre("binary_little_endian 1.0"));
  EXPECT_THAT(ply.Values("element"), ElementsAre("vertex 2"));
  EXPECT_THAT(ply.Values("property"), testing::ElementsAreArray(expected.ply));
  EXPECT_EQ(ply.body, records);
  EXPECT_EQ(ReadAll(dir / "c.csv"), expected.csv);
}

TEST(CloudWriter, WritesAPointWithItsTrueWidths) {
  const auto cloud = TwoPoints<Point>();
  ExpectFiles(cloud, {"x y z intensity ring",
                      "4 4 4 2 2",
                      "F F F U U",
                      "1 1 1 1 1",
                      {"float x", "float y", "float z", "ushort intensity", "ushort ring"},
                      "x,y,z,intensity,ring\n0,0,0,0,0\n1.5,-0.1,3e-08,65535,191\n"});
}

TEST(CloudWriter, WritesThePointTimeAsDouble) {
  auto cloud = TwoPoints<PointTime>();
  cloud.points[1].timestamp = 1700000000.123456;
  ExpectFiles(cloud, {"x y z intensity ring timestamp",
                      "4 4 4 2 2 8",
                      "F F F U U F",
                      "1 1 1 1 1 1",
                      {"float x", "float y", "float z", "ushort intensity", "ushort ring",
                       "double timestamp"},
                      "x,y,z,intensity,ring,timestamp\n0,0,0,0,0,0\n"
                      "1.5,-0.1,3e-08,65535,191,1700000000.123456\n"});
}

TEST(CloudWriter, WritesTheSourceBytesOneByOne) {
  auto cloud = TwoPoints<PointSource>();
  cloud.points[1].distance = -7;
  cloud.points[1].source[8] = 200;
  std::vector<std::string> ply = {"float x",          "float y",     "float z",
                                  "ushort intensity", "ushort ring", "double timestamp",
                                  "int distance"};
  std::string names;
  for (int i = 0; i < 9; ++i) {
    ply.push_back("uchar source_" + std::to_string(i));
    names += ",source_" + std::to_string(i);
  }
  ExpectFiles(cloud, {"x y z intensity ring timestamp distance source", "4 4 4 2 2 8 4 1",
                      "F F F U U F I U", "1 1 1 1 1 1 1 9", ply,
                      "x,y,z,intensity,ring,timestamp,distance" + names +
                          "\n0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n"
                          "1.5,-0.1,3e-08,65535,191,0,-7,0,0,0,0,0,0,0,0,200\n"});
}

TEST(CloudWriter, WritesTheRawMeasurementOfAJuniqPoint) {
  auto cloud = TwoPoints<JuniqPoint>();
  JuniqPoint& p = cloud.points[1];
  p.row = 1, p.column = 2, p.aux = 3, p.width_ref = 4, p.peak = 5, p.tof = 6;
  p.width = 0xFFFFFFFF;
  ExpectFiles(cloud, {"x y z intensity ring row column aux width_ref peak tof width",
                      "4 4 4 2 2 2 2 2 2 4 4 4",
                      "F F F U U U U U U U U U",
                      "1 1 1 1 1 1 1 1 1 1 1 1",
                      {"float x", "float y", "float z", "ushort intensity", "ushort ring",
                       "ushort row", "ushort column", "ushort aux", "ushort width_ref", "uint peak",
                       "uint tof", "uint width"},
                      "x,y,z,intensity,ring,row,column,aux,width_ref,peak,tof,width\n"
                      "0,0,0,0,0,0,0,0,0,0,0,0\n"
                      "1.5,-0.1,3e-08,65535,191,1,2,3,4,5,6,4294967295\n"});
}

/// The list decides what each column holds, so every field must be where the record has it.
TEST(PointFields, NameTheMembersOfTheRecords) {
  const auto offset = [](const auto& list, const std::string& name) {
    for (const PointField& field : list) {
      if (field.name == name) return field.offset;
    }
    return std::size_t{999};
  };
  EXPECT_EQ(offset(kPointFields<Point>, "ring"), offsetof(Point, ring));
  EXPECT_EQ(offset(kPointFields<PointTime>, "timestamp"), offsetof(PointTime, timestamp));
  EXPECT_EQ(offset(kPointFields<PointSource>, "distance"), offsetof(PointSource, distance));
  EXPECT_EQ(offset(kPointFields<JuniqPoint>, "width_ref"), offsetof(JuniqPoint, width_ref));
  EXPECT_EQ(offset(kPointFields<JuniqPoint>, "tof"), offsetof(JuniqPoint, tof));
}

TEST(CloudWriter, LeavesNothingBehindWhenTheDiskRefusesTheRest) {
  const test::TempDir dir;
  PointCloud<Point> cloud;
  cloud.points.resize(1000);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {4096, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  try {
    WriteCloud(dir / "c.pcd", CloudFormat::kPcd, View(cloud));
    ADD_FAILURE() << "a file beyond the limit was taken for written";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Code(), ExitCode::kFileFault);
    EXPECT_THAT(failure.what(), HasSubstr("c.pcd: File too large"));
  }
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(CloudWriter, ChoosesTheFormatByNameOrByEnding) {
  const test::TempDir dir;
  const auto cloud = TwoPoints<Point>();
  CloudWriter folder(dir / "new/frames", "");
  EXPECT_EQ(folder.Write(View(cloud), 7, 0), dir / "new/frames/frame_000007.pcd");
  EXPECT_EQ(folder.Write(View(cloud), 7, 1), dir / "new/frames/frame_000007_1.pcd");
  CloudWriter file(dir / "one.PLY.ply", "");
  EXPECT_TRUE(file.SingleFile());
  EXPECT_EQ(file.Write(View(cloud), 7, 0), dir / "one.PLY.ply");
  EXPECT_THAT(ReadAll(dir / "one.PLY.ply"), HasSubstr("end_header"));
  EXPECT_THROW(CloudWriter(dir / "x.ply", "pcd"), Failure);
  EXPECT_THROW(CloudWriter(dir / "one.PLY.ply" / "under-a-file", "pcd"), Failure);
}

}  // namespace
}  // namespace orliq::cli
