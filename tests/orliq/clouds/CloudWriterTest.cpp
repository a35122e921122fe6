// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudWriter.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <set>
#include <tuple>

#include "orliq/terminal/ExitCode.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// Two points, the first at the origin; of the other only the fields that every type has are set.
template <typename T>
PointCloud<T> TwoPoints() {
  PointCloud<T> cloud;
  cloud.timestamp = 1700000000.25;
  cloud.points.resize(2);
  T& point = cloud.points[1];
  point.x = 1.5F;
  point.y = -0.1F;
  point.z = 3e-8F;
  point.intensity = 65535;
  point.ring = 191;
  return cloud;
}

/// What stands between the fixed lines: in PCD behind FIELDS, SIZE, TYPE and COUNT, in PLY the
/// properties, in CSV everything.
struct Expected {
  std::string fields, size, type, count, properties, csv;
};

/// Compares every byte of the three files; behind their headers stand the records as they are.
template <typename T>
void ExpectFiles(const PointCloud<T>& cloud, const Expected& expected) {
  const test::TempDir dir;
  const auto written = [&](CloudFormat format) {
    WriteCloud(dir / "cloud", format, View(cloud));
    return ReadAll(dir / "cloud");
  };
  const std::string records(reinterpret_cast<const char*>(cloud.points.data()), 2 * sizeof(T));
  EXPECT_EQ(written(CloudFormat::kPcd),
            "# .PCD v0.7 - Point Cloud Data file format\n"
            "# time of the frame, seconds UTC: 1700000000.250000\nVERSION 0.7\nFIELDS " +
                expected.fields + "\nSIZE " + expected.size + "\nTYPE " + expected.type +
                "\nCOUNT " + expected.count +
                "\nWIDTH 2\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS 2\nDATA binary\n" + records);
  EXPECT_EQ(written(CloudFormat::kPly),
            "ply\nformat binary_little_endian 1.0\ncomment time of the frame, seconds UTC: "
            "1700000000.250000\nelement vertex 2\nproperty float x\nproperty float y\n"
            "property float z\nproperty ushort intensity\nproperty ushort ring\n" +
                expected.properties + "end_header\n" + records);
  EXPECT_EQ(written(CloudFormat::kCsv), expected.csv);
}

TEST(CloudWriter, WritesThePointTimeAsDoubleAndTheSourceBytesOneByOne) {
  auto cloud = TwoPoints<PointSource>();
  cloud.points[1].timestamp = 1700000000.123456;
  cloud.points[1].distance = -7;
  cloud.points[1].source[8] = 200;
  Expected expected = {"x y z intensity ring timestamp distance source",
                       "4 4 4 2 2 8 4 1",
                       "F F F U U F I U",
                       "1 1 1 1 1 1 1 9",
                       "property double timestamp\nproperty int distance\n",
                       "x,y,z,intensity,ring,timestamp,distance"};
  for (const char i : std::string("012345678")) {
    expected.properties += std::string("property uchar source_") + i + '\n';
    expected.csv += std::string(",source_") + i;
  }
  expected.csv +=
      "\n0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n"
      "1.5,-0.1,3e-08,65535,191,1700000000.123456,-7,0,0,0,0,0,0,0,0,200\n";
  ExpectFiles(cloud, expected);
}

/// "kind format" of what --out names, or the exit code and what the sentence says.
std::string TargetText(const std::filesystem::path& path, const std::string& format = "") {
  try {
    const CloudTarget target = ExamineTarget(path, format, false);
    return (target.single_file ? "file " : "folder ") + CloudFormatName(target.format);
  } catch (const Failure& failure) {
    return std::to_string(static_cast<int>(failure.Code()));
  }
}

TEST(CloudWriter, TakesANameForAFileOnlyWhenItsEndingIsAFormat) {
  const test::TempDir dir;
  std::filesystem::create_directory(dir / "run.2024");
  dir.Write("there.ply", "old");
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"frames", "", "folder pcd"}, {"frames", "csv", "folder csv"},
      {"a.ply", "", "file ply"},    {"a.PCD", "", "file pcd"},
      {"a.ply", "ply", "file ply"}, {"a.ply", "pcd", "2"},
      {"a.las", "", "2"},           {"a.las", "pcd", "2"},
      {"a.las/", "", "folder pcd"}, {"run.2024", "", "folder pcd"},
      {"run.2025", "", "2"},        {"a.ply/", "", "folder pcd"},
      {"there.ply", "", "4"},
  };
  for (const auto& [name, format, expected] : rows) {
    EXPECT_EQ(TargetText(dir / name, format), expected) << name << ' ' << format;
  }
}

TEST(CloudWriter, NeverMixesItsFramesWithThoseOfAnEarlierRun) {
  const test::TempDir dir;
  const auto cloud = TwoPoints<Point>();
  for (const char* name : {"frame_000001.ply", "frame_000001_1.csv", "frame_notes.csv"}) {
    dir.Write(name, "old");
  }
  EXPECT_EQ(TargetText(dir.path()), "4");
  CloudWriter writer(dir.path(), "", true);
  EXPECT_TRUE(std::filesystem::exists(dir / "frame_000001.ply")) << "until the first new one";
  for (int frame = 0; frame < 2; ++frame) writer.Write(View(cloud), frame, 0);
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
    names.insert(entry.path().filename());
  }
  EXPECT_EQ(names,
            (std::set<std::string>{"frame_000000.pcd", "frame_000001.pcd", "frame_notes.csv"}));
}

}  // namespace
}  // namespace orliq::cli
