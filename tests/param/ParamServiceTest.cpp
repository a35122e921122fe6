// SPDX-License-Identifier: Apache-2.0
#include "param/ParamService.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstring>
#include <fstream>
#include <map>

#include "param/SearchFiles.h"
#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

using testing::UnorderedElementsAre;

constexpr LidarType kTableModels[] = {LidarType::Fennix, LidarType::Hestra, LidarType::Glavor,
                                      LidarType::Juniq};

/// A check folder. A path is taken as a string, as the service does.
class Folder : public test::TempDir {
 public:
  std::string Path(const std::string& name) const { return *this / name; }
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name)) << text;
    return Path(name);
  }
};

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
  const Files renamed = {
      {"weights/1", 4}, {"weights/2", 4}, {"weights/3", 4}, {"weights/offset", 4}};
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
      {"four times the numbers", LidarType::Hestra, true, four, {}},
      {"one short of four times", LidarType::Hestra, false, four, {{"near_filter", 35}}},
      {"no file", LidarType::Juniq, false, {}, {}},
      {"the folder's name claims its files", LidarType::Glavor, true, {}, renamed},
  };
  for (auto row : rows) {
    const Folder folder;
    std::filesystem::create_directory(folder / "weights");
    for (const auto& [name, count] : row.changes) row.files[name] = count;
    for (const auto& [name, count] : row.files) {
      folder.Write(name, Times(count, name[0] == 'w' ? "7,1\n" : "1\n"));
    }
    const std::string path = folder.Path(row.files.count("weights/1") ? "weights" : "");
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
    const std::pair<std::size_t, float> floats[] = {
        {1, 1},      {196605, 1}, {196609, 2}, {393213, 2},  {393217, 3},
        {393221, 4}, {393225, 5}, {393229, 6}, {393233, 11}, {393265, 19}};
    EXPECT_TRUE(IsZero(service, type, 1));
    for (const auto& [at, value] : floats) EXPECT_EQ(FloatAt(service, type, at), value) << at;
    if (type == LidarType::Juniq) {
      EXPECT_EQ(FloatAt(service, type, 393269), 8);
      EXPECT_EQ(FloatAt(service, type, 589873), 8);
    }
    for (const LidarType other : kTableModels) {
      EXPECT_EQ(IsZero(service, other, 393269), other != type);
    }
  }
}

TEST(ParamService, AcceptedTablesAreCopiedThoughTheFolderFailsAndShortOnesAreNot) {
  const Folder folder;
  folder.Write("azimuth", Times(49152, "1\n"));
  ParamService service;
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Juniq, folder.path()));
  EXPECT_EQ(FloatAt(service, LidarType::Juniq, 1), 1);
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Fennix, folder.path()));
  EXPECT_TRUE(IsZero(service, LidarType::Fennix, 393269));
}

TEST(ParamService, ModelsWithoutTablesLoadNothingAndListNothing) {
  const Folder folder;
  folder.Write("azimuth", "1\n");
  ParamService service;
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Juniq, folder.path()));
  testing::internal::CaptureStdout();
  for (const auto type : {LidarType::Corvik, LidarType::Brantis, LidarType::Kelvane}) {
    EXPECT_FALSE(service.LoadCheckFolder(type, folder.path()));
    EXPECT_TRUE(service.LastLoad().empty());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(IsZero(service, LidarType::Corvik, 1) && IsZero(service, LidarType::Brantis, 1));
  EXPECT_EQ(service.GetCheckParam(LidarType::Kelvane), nullptr);
  EXPECT_EQ(std::string(ParamService::Impl().marker, 4), "ZZZZ");
}

TEST(ParamService, EachFileIsReportedWithWhatWasFoundAndNeeded) {
  const Folder folder;
  folder.Write("weight", "a,1,2\n");
  std::filesystem::create_symlink("nowhere", folder.Path("offset"));
  folder.Write("readme", "text");
  folder.Write("near_filter", "1,2,3,4,5,6,7,8,9,10");
  ParamService service;
  EXPECT_FALSE(service.LoadCheckFolder(LidarType::Juniq, folder.path()));
  std::vector<std::string> seen;
  for (const TableLoad& load : service.LastLoad()) {
    seen.push_back(load.path.substr(folder.Path("").size()) + " " + load.table + " " +
                   std::to_string(load.found) + "/" + std::to_string(load.needed) +
                   (load.accepted ? " accepted" : "") + (load.readable ? " readable" : ""));
  }
  EXPECT_THAT(
      seen, UnorderedElementsAre("weight weight 2/4 readable", "offset offset 0/49152",
                                 "readme  0/0", "near_filter near_filter 10/9 accepted readable"));
}

TEST(ParamService, LoadingPrintsTheLinesOfEachModel) {
  const std::string size_line = "list.size():3 size:49152\n";
  const struct {
    LidarType type;
    std::string azimuth_size;
    std::string elevation_size;
  } rows[] = {{LidarType::Fennix, "", "list.size():3 size:196608\n"},
              {LidarType::Hestra, "", ""},
              {LidarType::Glavor, size_line, size_line},
              {LidarType::Juniq, size_line, size_line}};
  for (const auto& row : rows) {
    std::map<std::string, std::string> lines = {
        {"weight", ""}, {"near_filter", ""}, {"offset", ""}};
    lines["azimuth"] = "azimuth\n" + row.azimuth_size;
    lines["elevation"] = "elevation\n" + row.elevation_size;
    for (const auto& [name, text] : lines) {
      const Folder folder;
      const std::string listed = "文件: \"" + folder.Write(name, "1,2,3") + "\"\n";
      testing::internal::CaptureStdout();
      EXPECT_FALSE(ParamService().LoadCheckFolder(row.type, folder.path()));
      EXPECT_EQ(testing::internal::GetCapturedStdout(), listed + text);
    }
  }
}

TEST(SearchFiles, ListsWhateverIsNoDirectory) {
  const Folder folder;
  folder.Write("\xFF_azimuth", "");
  folder.Write("quote\"d", "");
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop", folder.Path("loop"));
  std::filesystem::create_symlink("nowhere", folder.Path("dangling"));
  std::filesystem::create_directory(folder.Path("directory"));
  folder.Write("directory/inside", "");
  std::filesystem::create_directory_symlink("directory", folder.Path("link_to_directory"));
  std::vector<std::string> files = {"before"};
  testing::internal::CaptureStdout();
  EXPECT_TRUE(SearchFiles(folder.path(), files));
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_THAT(files, UnorderedElementsAre("before", folder.Path("\xFF_azimuth"),
                                          folder.Path("quote\"d"), folder.Path("fifo"),
                                          folder.Path("loop"), folder.Path("dangling")));
  EXPECT_THAT(text, testing::HasSubstr("文件: \"" + folder.Path("quote\\\"d") + "\"\n"));
}

TEST(SearchFiles, AFolderThatCannotBeReadListsNothing) {
  const Folder folder;
  std::filesystem::create_directory(folder / "closed");
  std::filesystem::permissions(folder / "closed", std::filesystem::perms::none);
  std::vector<std::string> files;
  for (const std::string& path :
       {folder.Path("missing"), folder.Write("file", ""), std::string()}) {
    EXPECT_FALSE(SearchFiles(path, files)) << path;
  }
  SearchFiles(folder / "closed", files);  // the administrator may read it, and finds it empty
  EXPECT_TRUE(files.empty());
}

}  // namespace
}  // namespace orliq::lidar
