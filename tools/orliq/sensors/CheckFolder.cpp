// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/CheckFolder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/PlainText.h"
#include "param/Calibration.h"
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
std::string FolderFault(const std::string& folder, const std::string& fault, bool has_files) {
  if (folder.empty()) return "an empty name is no folder";
  if (!fault.empty()) return fault;
  return has_files ? std::string() : "the folder " + folder + " holds no files";
}

/// Of two files for a table, the order of the folder's listing would decide.
bool GivesEachTableOnce(const lidar::ParamService& service) {
  const auto& files = service.LastLoad();
  const auto& tables = service.LastTables();
  return std::all_of(tables.begin(), tables.end(), [&](const TableLoad& table) {
    return 1 == std::count_if(files.begin(), files.end(), [&](const TableLoad& file) {
             return file.accepted && file.table == table.table;
           });
  });
}

}  // namespace

CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder) {
  lidar::ParamService service;
  return ExamineCheckFolder(model, folder, service);
}

CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder,
                                     lidar::ParamService& service) {
  lidar::DriverParam param;
  param.lidar_type = model.type;
  param.calibration_param.check_folder = folder;
  const lidar::CalibrationStatus status = lidar::LoadCalibration(param, service);
  const std::string fault = FolderFault(folder, status.folder_fault, !service.LastLoad().empty());
  if (!fault.empty()) return {false, false, false, {PlainText(fault)}};

  CheckFolderReport report = {true, status.loaded, false, {}};
  report.complete = report.loaded && GivesEachTableOnce(service);
  const std::string word = TableWordIn(folder);
  const bool is_used = word != "offset" || service.LastTables().back().table == word;
  if (!word.empty() && is_used) {
    report.remarks = {"the folder's own path holds the word \"" + word +
                      "\", so every file in it may be taken for that table: rename the folder"};
  }
  for (const lidar::RefusedTable& table : status.refused)
    report.remarks.push_back(PlainText(table.text));
  return report;
}

std::string CheckFolderFault(const Model& model, const std::string& folder,
                             const CheckFolderReport& report) {
  std::string text = "the check folder " + (folder.empty() ? "\"\"" : PlainText(folder));
  const std::string name(model.name);
  text += report.loaded ? " does not give " + name + " each table once:"
                        : " does not load for " + name + ':';
  for (const std::string& remark : report.remarks) text += "\n  " + remark;
  return text;
}

void RequireCalibration(const Model& model, const std::optional<std::string>& folder,
                        const Remarks& remarks) {
  const std::string option = "check-folder";
  if (!folder) {
    if (model.needs_tables) {
      remarks.Note("without " + remarks.Name(option) + ' ' + kWithoutTables);
    }
    return;
  }
  if (!model.needs_tables) {
    RemarkOnUnusedCalibration(model, option, remarks);
    return;
  }
  const CheckFolderReport report = ExamineCheckFolder(model, *folder);
  if (!report.complete) {
    throw Failure(ExitCode::kFileFault, CheckFolderFault(model, *folder, report) +
                                            "\norliq check-params DIR --model " + model.name +
                                            " tells more, and the rules");
  }
  for (const std::string& remark : report.remarks) remarks.Note(remark);
}

std::string TableWordIn(const std::string& path) {
  const auto& words = TableWords();
  const auto found = std::find_if(words.begin(), words.end(), [&](const std::string& word) {
    return path.find(word) != std::string::npos;
  });
  return found == words.end() ? std::string() : *found;
}

void RequireNoTableWord(const std::string& option, const std::string& folder) {
  std::error_code ignored;
  const std::string path = std::filesystem::absolute(folder, ignored).string();
  const std::string word = TableWordIn(path);
  if (word.empty()) return;
  throw Failure(ExitCode::kUsage, option + ' ' + PlainText(folder) + ": the word \"" + word +
                                      "\" in its path " + PlainText(path) +
                                      " makes every file in it count as that table: choose "
                                      "another folder");
}

}  // namespace orliq::cli
