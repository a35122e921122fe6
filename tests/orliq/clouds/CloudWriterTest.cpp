// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudWriter.h"

#include <gtest/gtest.h>

#include <tuple>

#include "orliq/terminal/ExitCode.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

/// Compares every byte of the three files; behind their headers stand the records as they are.
TEST(CloudWriter, WritesThePointTimeAsDoubleAndTheSourceBytesOneByOne) {
  const test::TempDir dir;
  PointCloud<PointSource> cloud;
  cloud.timestamp = 1700000000.25;
  cloud.points.resize(2);  // the first at the origin
  PointSource& point = cloud.points[1];
  point.x = 1.5F;
  point.y = -0.1F;
  point.z = 3e-8F;
  point.intensity = 65535;
  point.ring = 191;
  point.timestamp = 1700000000.123456;
  point.distance = -7;
  point.source[8] = 200;
  const auto written = [&](CloudFormat format) {
    WriteCloud(dir / "cloud", format, View(cloud));
    return dir.Read("cloud");
  };
  const std::string records(reinterpret_cast<const char*>(&cloud.points[0]), 2 * sizeof(point));
  EXPECT_EQ(written(CloudFormat::kPcd),
            "# .PCD v0.7 - Point Cloud Data file format\n"
            "# time of the frame, seconds UTC: 1700000000.250000\nVERSION 0.7\n"
            "FIELDS x y z intensity ring timestamp distance source\nSIZE 4 4 4 2 2 8 4 1\n"
            "TYPE F F F U U F I U\nCOUNT 1 1 1 1 1 1 1 9\n"
            "WIDTH 2\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS 2\nDATA binary\n" +
                records);
  std::string properties, columns;
  for (const char i : std::string("012345678")) {
    properties += std::string("property uchar source_") + i + '\n';
    columns += std::string(",source_") + i;
  }
  EXPECT_EQ(written(CloudFormat::kPly),
            "ply\nformat binary_little_endian 1.0\ncomment time of the frame, seconds UTC: "
            "1700000000.250000\nelement vertex 2\nproperty float x\nproperty float y\n"
            "property float z\nproperty ushort intensity\nproperty ushort ring\n"
            "property double timestamp\nproperty int distance\n" +
                properties + "end_header\n" + records);
  EXPECT_EQ(written(CloudFormat::kCsv),
            "x,y,z,intensity,ring,timestamp,distance" + columns +
                "\n0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0\n"
                "1.5,-0.1,3e-08,65535,191,1700000000.123456,-7,0,0,0,0,0,0,0,0,200\n");
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
      {"frames", "", "folder pcd"}, {"frames", "csv", "folder csv"}, {"a.PCD", "", "file pcd"},
      {"a.ply", "ply", "file ply"}, {"a.ply", "pcd", "2"},           {"a.las", "pcd", "2"},
      {"a.las/", "", "folder pcd"}, {"run.2024", "", "folder pcd"},  {"run.2025", "", "2"},
      {"a.ply/", "", "folder pcd"}, {"there.ply", "", "4"},
  };
  for (const auto& [name, format, expected] : rows) {
    EXPECT_EQ(TargetText(dir / name, format), expected) << name << ' ' << format;
  }
}

TEST(CloudWriter, NeverMixesItsFramesWithThoseOfAnEarlierRun) {
  const test::TempDir dir;
  for (const char* name : {"frame_000001.ply", "frame_000001_1.csv", "frame_notes.csv"}) {
    dir.Write(name, "old");
  }
  EXPECT_EQ(TargetText(dir.path()), "4");
  CloudWriter writer(dir.path(), "", true);
  EXPECT_TRUE(std::filesystem::exists(dir / "frame_000001.ply")) << "until the first new one";
  for (int frame = 0; frame < 2; ++frame) writer.Write(View(PointCloud<Point>()), frame, 0);
  EXPECT_EQ(dir.Files(),
            (std::set<std::string>{"frame_000000.pcd", "frame_000001.pcd", "frame_notes.csv"}));
}

}  // namespace
}  // namespace orliq::cli
