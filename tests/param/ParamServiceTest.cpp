// SPDX-License-Identifier: Apache-2.0
#include "param/ParamService.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstring>
#include <map>

#include "param/Calibration.h"
#include "param/SearchFiles.h"
#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

constexpr LidarType kTableModels[] = {LidarType::Fennix, LidarType::Hestra, LidarType::Glavor,
                                      LidarType::Juniq};

using Folder = test::TempDir;

std::string Times(std::size_t count, const std::string& line) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += line;
  return text;
}

float FloatAt(ParamService& service, LidarType type, std::size_t byte) {
  float value = 0;
  std::memcpy(&value, reinterpret_cast<const char*>(service.GetCheckParam(type)) + byte, 4);
  return value;
}

bool IsZero(ParamService& service, LidarType type, std::size_t size) {
  const auto* bytes = reinterpret_cast<const char*>(service.GetCheckParam(type));
  return std::string(bytes, size) == std::string(size, '\0');
}

TEST(ParamService, AFolderLoadsWhenItsFilesAddUp) {
  using Files = std::map<std::string, std::size_t>;  // name and count of numbers
  const Files one = {{"azimuth", 49152}, {"elevation", 49152}, {"weight", 4}, {"near_filter", 9}};
  const Files four = {
      {"azimuth", 196608}, {"elevation", 196608}, {"weight", 16}, {"near_filter", 36}};
  const Files named = {{"weights/1", 4}, {"weights/2", 4}, {"weights/3", 4}, {"weights/4", 4}};
  const struct {
    const char* why;
    LidarType type;
    bool loads;
    Files files;
    Files changes;
  } rows[] = {
      {"each table once", LidarType::Glavor, true, one, {}},
      {"five are not exactly four", LidarType::Glavor, false, one, {{"azimuth.csv~", 49152}}},
      {"a copy for a short table", LidarType::Glavor, true, one, {{"weight", 3}, {"weight~", 4}}},
      {"a table of Juniq alone", LidarType::Glavor, true, one, {{"offset", 49152}}},
      {"azimuths one short", LidarType::Glavor, false, one, {{"azimuth", 49151}}},
      {"all five", LidarType::Juniq, true, one, {{"offset", 49152}}},
      {"any four", LidarType::Juniq, true, one, {{"near_filter", 8}, {"offset", 49152}}},
      {"only three", LidarType::Juniq, false, one, {{"near_filter", 8}, {"offset", 49151}}},
      {"four times the numbers", LidarType::Fennix, true, four, {}},
      {"what is used is not enough", LidarType::Fennix, false, four, {{"azimuth", 49152}}},
      {"one short of four times", LidarType::Hestra, false, four, {{"near_filter", 35}}},
      {"the folder's name claims its files", LidarType::Glavor, true, named, {}},
  };
  for (auto row : rows) {
    const Folder folder;
    std::filesystem::create_directory(folder / "weights");
    row.changes.merge(row.files);
    for (const auto& [name, count] : row.changes) {
      folder.Write(name, Times(count, name[0] == 'w' ? "7,1\n" : "1\n"));
    }
    const auto path = folder / (row.changes.count("weights/1") != 0 ? "weights" : "");
    EXPECT_EQ(ParamService().LoadCheckFolder(row.type, path), row.loads) << row.why;
  }
}

TEST(ParamService, EachTableGoesToItsPlaceInTheRecordOfItsModelOnly) {
  for (const LidarType type : kTableModels) {
    const Folder folder;
    folder.Write("azimuth", Times(49152, "1\n") + Times(147456, "9\n"));
    folder.Write("azimuth_elevation", "5\n");  // an azimuth table, too short: the first word wins
    folder.Write("elevation", Times(49152, "2\n") + Times(147456, "9\n"));
    folder.Write("weight", "w0,3\nw1,4,5\nw2,6,9,9,9,9,9,9,9,9,9,9,9,9,9\n");
    folder.Write("near_filter", "11,12,13,14,15,16,17,18,19" + Times(27, ",9"));
    folder.Write("offset", Times(49152, "8\n"));
    ParamService service;
    EXPECT_TRUE(service.LoadCheckFolder(type, folder.path()));
    std::vector<std::pair<std::size_t, float>> floats = {
        {1, 1},      {196605, 1}, {196609, 2}, {393213, 2},  {393217, 3},
        {393221, 4}, {393225, 5}, {393229, 6}, {393233, 11}, {393265, 19}};
    if (type == LidarType::Juniq) floats.insert(floats.end(), {{393269, 8}, {589873, 8}});
    EXPECT_TRUE(IsZero(service, type, 1));
    for (const auto& [at, value] : floats) EXPECT_EQ(FloatAt(service, type, at), value) << at;
    for (const LidarType other : kTableModels) {
      EXPECT_EQ(IsZero(service, other, 393269), other != type);
    }
  }
}

TEST(ParamService, OnlyTablesThatAModelAcceptsAreCopiedThoughTheFolderFails) {
  const Folder folder;
  folder.Write("azimuth", Times(49152, "1\n"));
  ParamService service;
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Juniq, folder.path()));
  EXPECT_EQ(FloatAt(service, LidarType::Juniq, 1), 1);
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Fennix, folder.path()));
  EXPECT_TRUE(IsZero(service, LidarType::Fennix, 393269));
  testing::internal::CaptureStdout();
  for (const auto type : {LidarType::Corvik, LidarType::Brantis, LidarType::Kelvane}) {
    EXPECT_FALSE(service.LoadCheckFolder(type, folder.path()));
    EXPECT_TRUE(service.LastLoad().empty());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "models without tables";
  EXPECT_TRUE(IsZero(service, LidarType::Corvik, 1) && IsZero(service, LidarType::Brantis, 1));
  EXPECT_EQ(service.GetCheckParam(LidarType::Kelvane), nullptr);
}

TEST(ParamService, SomeModelsPrintHowManyNumbersAnAngleTableHolds) {
  const std::string four = "list.size():3 size:196608\n", one = "list.size():3 size:49152\n";
  const std::tuple<LidarType, const char*, std::string> rows[] = {
      {LidarType::Fennix, "azimuth", ""},  {LidarType::Fennix, "elevation", four},
      {LidarType::Hestra, "azimuth", ""},  {LidarType::Hestra, "elevation", ""},
      {LidarType::Glavor, "azimuth", one}, {LidarType::Glavor, "elevation", one},
      {LidarType::Juniq, "azimuth", one},  {LidarType::Juniq, "elevation", one}};
  for (const auto& [type, word, line] : rows) {
    const Folder folder;
    const std::string path = folder.Write(word, "1,2,3\n");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(ParamService().LoadCheckFolder(type, folder.path()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "文件: \"" + path + "\"\n" + word + '\n' + line);
  }
}

TEST(Calibration, EachTableThatWasNotTakenIsToldWithItsReason) {
  const Folder folder;
  folder.Write("azimuth", Times(49152, "1\n"));
  folder.Write("elevation", "1,2,3\n");
  std::filesystem::create_symlink("nowhere", folder / "weight");
  for (const char* copy : {"offset.1", "offset.2"}) folder.Write(copy, Times(49152, "8\n"));
  DriverParam param;
  param.lidar_type = LidarType::Juniq;
  param.calibration_param.check_folder = folder.path();
  ParamService service;
  const CalibrationStatus status = LoadCalibration(param, service);
  EXPECT_TRUE(status.source == CalibrationSource::Folder && !status.loaded);
  EXPECT_TRUE(status.folder == folder.path() && status.folder_fault.empty());
  const auto& files = service.LastLoad();  // in the order in which the system lists them
  const auto first = std::find_if(files.begin(), files.end(),
                                  [](const TableLoad& file) { return file.table == "offset"; });
  std::vector<std::pair<TableFault, std::string>> refused;
  for (const RefusedTable& table : status.refused) refused.emplace_back(table.fault, table.text);
  EXPECT_THAT(
      refused,
      testing::ElementsAre(
          testing::Pair(TableFault::Short, (folder / "elevation").string() +
                                               " holds 3 numbers, the elevation table needs 49152"),
          testing::Pair(TableFault::Unreadable, (folder / "weight").string() + " cannot be read"),
          testing::Pair(TableFault::Missing, testing::HasSubstr("for the near_filter table")),
          testing::Pair(TableFault::Replaced, testing::HasSubstr(first->path))));
  const RefusedTable& elevation = status.refused.at(0);
  EXPECT_TRUE(elevation.table == "elevation" && elevation.file == folder / "elevation");
  EXPECT_TRUE(elevation.found == 3 && elevation.needed == 49152);

  param.calibration_param.check_folder = folder / "none";
  EXPECT_EQ(LoadCalibration(param, service).folder_fault,
            "there is no folder " + (folder / "none").string());
  param.calibration_param.check_folder = folder / "elevation";
  EXPECT_EQ(LoadCalibration(param, service).folder_fault,
            (folder / "elevation").string() + " is not a folder");
  param.lidar_type = LidarType::Corvik;
  EXPECT_TRUE(LoadCalibration(param, service).source == CalibrationSource::None);
}

TEST(SearchFiles, ListsWhateverIsNoDirectory) {
  const Folder folder;
  std::filesystem::create_directories(folder / "directory/inside");
  std::filesystem::create_directory_symlink("directory", folder / "link_to_directory");
  std::filesystem::create_symlink("loop", folder / "loop");
  std::filesystem::create_symlink("nowhere", folder / "dangling");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  std::vector<std::string> expected = {"before", folder / "loop", folder / "dangling",
                                       folder / "fifo", folder.Write("\xFF_azimuth", "")};
  expected.push_back(folder.Write("quote\"d", ""));
  std::vector<std::string> files = {"before"};
  testing::internal::CaptureStdout();
  EXPECT_TRUE(SearchFiles(folder.path(), files));
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::HasSubstr("文件: \"" + (folder / "quote\\\"d").string() + "\"\n"));
  EXPECT_THAT(files, testing::UnorderedElementsAreArray(expected));
  for (const std::string& unreadable : {files[4], (folder / "missing").string(), std::string()}) {
    EXPECT_FALSE(SearchFiles(unreadable, files)) << unreadable;
  }
  EXPECT_EQ(files.size(), expected.size());
}

}  // namespace
}  // namespace orliq::lidar
