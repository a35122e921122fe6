// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/CheckFolder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/NumberText.h"
#include "param/ParamService.h"

namespace orliq::cli {
namespace {

using lidar::TableLoad;

const std::vector<std::string>& TableWords() {
  static const std::vector<std::string> words = {"azimuth", "elevation", "weight", "near_filter",
                                                 "offset"};
  return words;
}

/// Why the folder as such is of no use, or nothing.
std::string FolderFault(const std::string& folder, const std::vector<TableLoad>& files) {
  if (folder.empty()) return "an empty name is no folder";
  std::error_code error;
  const auto status = std::filesystem::status(folder, error);
  if (!std::filesystem::exists(status)) return "there is no folder " + folder;
  if (!std::filesystem::is_directory(status)) return folder + " is not a folder";
  const std::filesystem::directory_iterator listing(folder, error);
  if (error) return "the folder " + folder + " cannot be listed: " + error.message();
  if (files.empty()) return "the folder " + folder + " holds no files";
  return {};
}

std::string WhyRefused(const TableLoad& file) {
  if (!file.readable) return file.path + " cannot be read";
  return file.path + " holds " + Count(file.found, "number") + ", the " + file.table +
         " table needs " + Grouped(file.needed);
}

std::string WhyDoubtful(const std::string& other, const TableLoad& file) {
  return other + " and " + file.path + " both count as the " + file.table +
         " table: remove the one that is not wanted";
}

/// Remarks on one table; whether one file gives it. Of two, the order of the folder's listing decides.
bool ExamineTable(const std::string& table, const std::vector<TableLoad>& files,
                  std::vector<std::string>& remarks) {
  std::string accepted;
  bool seen = false;
  bool doubtful = false;
  for (const TableLoad& file : files) {
    if (file.table != table) continue;
    seen = true;
    if (!file.accepted) remarks.push_back(WhyRefused(file));
    if (!file.accepted) continue;
    if (!accepted.empty()) {
      doubtful = true;
      remarks.push_back(WhyDoubtful(accepted, file));
    }
    accepted = file.path;
  }
  if (!seen) remarks.push_back("there is no " + table + " table (no file name holds that word)");
  return !accepted.empty() && !doubtful;
}

}  // namespace

CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder) {
  CheckFolderReport report;
  lidar::ParamService service;
  report.loaded = service.LoadCheckFolder(model.type, folder);
  const std::string fault = FolderFault(folder, service.LastLoad());
  if (!fault.empty()) {
    report.remarks = {fault};
    return report;
  }
  const std::string word = TableWordIn(folder);
  if (!word.empty()) {
    report.remarks = {"the folder's own path holds the word \"" + word +
                      "\", so every file in it " +
                      "may be taken for that table: rename the folder"};
  }
  report.complete = report.loaded;
  for (const std::string& table : TableWords()) {
    if (table == "offset" && model.type != lidar::LidarType::Juniq) continue;
    if (!ExamineTable(table, service.LastLoad(), report.remarks)) report.complete = false;
  }
  return report;
}

std::string CheckFolderFault(const Model& model, const std::string& folder,
                             const CheckFolderReport& report) {
  std::string text = "the check folder " + (folder.empty() ? "\"\"" : folder);
  const std::string name(model.name);
  text += report.loaded ? " does not give " + name + " each table once:"
                        : " does not load for " + name + ':';
  for (const std::string& remark : report.remarks) text += "\n  " + remark;
  return text;
}

void RequireCalibration(const Model& model, const std::optional<std::string>& folder,
                        const Console& console) {
  if (!folder) {
    if (model.needs_tables) {
      console.Note("without --check-folder all points lie straight ahead, at uncorrected ranges");
    }
    return;
  }
  if (!model.needs_tables) {
    console.Note(std::string(model.name) + " needs no calibration: --check-folder has no effect");
    return;
  }
  const CheckFolderReport report = ExamineCheckFolder(model, *folder);
  if (!report.complete) {
    throw Failure(ExitCode::kFileFault, CheckFolderFault(model, *folder, report));
  }
  for (const std::string& remark : report.remarks) console.Note(remark);
}

std::string TableWordIn(const std::string& path) {
  const auto& words = TableWords();
  const auto found = std::find_if(words.begin(), words.end(), [&](const std::string& word) {
    return path.find(word) != std::string::npos;
  });
  return found == words.end() ? std::string() : *found;
}

}  // namespace orliq::cli
