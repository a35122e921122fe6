// SPDX-License-Identifier: Apache-2.0
#include "simulator/CheckFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <tuple>

#include "simulator/JuniqSensor.h"
#include "support/TempDir.h"

namespace orliq::sim {
namespace {

/// Numbers of a comma-separated file from field `first` of each line on, as the driver reads them.
std::vector<float> ReadTable(const std::filesystem::path& path, std::size_t first = 0) {
  std::vector<float> values;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    std::string field;
    for (std::size_t i = 0; std::getline(fields, field, ','); ++i) {
      if (i >= first) {
        values.push_back(static_cast<float>(std::strtod(field.c_str(), nullptr)));
      }
    }
  }
  return values;
}

auto CountFiles(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

TEST(JuniqCheckFolder, BringsBackEveryNumberExactly) {
  const test::TempDir scratch;
  const JuniqSensor sensor{SensorOptions{}};
  std::string error;
  ASSERT_TRUE(sensor.WriteCheckFolder(scratch / "unit/one", error)) << error;
  ASSERT_TRUE(sensor.WriteCheckFolder(scratch / "unit/one", error)) << "over itself: " << error;
  const JuniqCalibration& unit = sensor.Calibration();
  const auto& [weight, near] = std::tie(unit.weight, unit.near_filter);
  const std::filesystem::path folder = scratch / "unit/one";
  EXPECT_EQ(CountFiles(folder), 5) << "the tables and nothing else";
  EXPECT_EQ(ReadTable(folder / "azimuth.csv").size(), 49152U);
  EXPECT_EQ(ReadTable(folder / "azimuth.csv"), unit.azimuth);
  EXPECT_EQ(ReadTable(folder / "elevation.csv"), unit.elevation);
  EXPECT_EQ(ReadTable(folder / "offset.csv"), unit.offset);
  EXPECT_EQ(ReadTable(folder / "weight.csv", 1), std::vector<float>(weight.begin(), weight.end()));
  EXPECT_EQ(ReadTable(folder / "near_filter.csv"), std::vector<float>(near.begin(), near.end()));
}

TEST(CheckFolder, RefusesWhatCouldNotBeReadOrWritten) {
  const test::TempDir scratch;
  std::ofstream(scratch / "file") << "in the way";
  std::filesystem::create_directories(scratch / "unit/azimuth.csv/full");
  const struct {
    const char* folder;
    const char* why;
  } cases[] = {
      {"azimuth", "the path holds a table's word"},
      {"my-offset-run/unit", "so does a folder above"},
      {"near_filter2", "the word may be a part of a name"},
      {"file", "a file stands in the folder's place"},
      {"unit", "a folder stands in a table's place"},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_FALSE(JuniqSensor{SensorOptions{}}.WriteCheckFolder(scratch / c.folder, error)) << c.why;
    EXPECT_NE(error.find(c.folder), std::string::npos) << c.why << ": " << error;
  }
  EXPECT_EQ(CountFiles(scratch.path()), 2) << "refused folders are not made";
  EXPECT_EQ(CountFiles(scratch / "unit"), 1) << "nothing half-written";
}

}  // namespace
}  // namespace orliq::sim
