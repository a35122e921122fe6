// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Remarks.h"

namespace orliq::lidar {
class ParamService;
}

namespace orliq::cli {

/// What becomes of a model that needs tables without them.
inline constexpr char kWithoutTables[] = "all points lie straight ahead, at uncorrected ranges";

/// What became of a folder of calibration tables, for the user.
struct CheckFolderReport {
  bool listed = false;               ///< it is a folder with files in it
  bool loaded = false;               ///< the driver will use the tables
  bool complete = false;             ///< and each of them comes from one file
  std::vector<std::string> remarks;  ///< a sentence for each table that is missing or doubtful
};

/// Loads the folder as the driver of `model` does and tells what is wrong with it. The second form
/// leaves the tables, and what became of each file, in `service`.
CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder);
CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder,
                                     lidar::ParamService& service);

/// What is wrong with the folder, a line for each remark behind the sentence.
std::string CheckFolderFault(const Model& model, const std::string& folder,
                             const CheckFolderReport& report);

/// Points without calibration are worth nothing: throws Failure when a table of the folder does not
/// load or two files give it, also for an empty name, and remarks on a folder that was not named or
/// has files of no use.
void RequireCalibration(const Model& model, const std::optional<std::string>& folder,
                        const Remarks& remarks);

/// The word in `path` by which a table file is recognised, or nothing. Such a word in the path of a
/// folder makes every file in it count as that table.
std::string TableWordIn(const std::string& path);

/// For a folder that is to be written. Throws Failure when its path from the root on holds such a
/// word: by that path the folder would be of no use, even if it can be named otherwise here.
void RequireNoTableWord(const std::string& option, const std::string& folder);

}  // namespace orliq::cli
