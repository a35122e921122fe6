// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/SentTables.h"

#include <algorithm>
#include <cstring>

#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/CheckTables.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

/// The fields of the record, one behind the other from its second byte on, are the tables in order.
const char* FirstField(const Model& model, lidar::ParamService& service) {
  return reinterpret_cast<const char*>(service.GetCheckParam(model.type)) +
         sizeof(lidar::CheckParam);
}

sim::CheckTable Layout(const std::string& word, std::size_t numbers) {
  const bool labelled = word == "weight";
  const std::size_t per_line = labelled ? 1 : std::min<std::size_t>(numbers, kBeamColumns);
  return {word, std::vector<float>(numbers), per_line, labelled};
}

/// The tables of a model with the numbers that their files need.
std::vector<lidar::TableLoad> NeededFiles(const Model& model) {
  lidar::ParamService service;
  (void)service.LoadCheckFolder(model.type, {});  // of no folder: only for its list
  return service.LastTables();
}

std::size_t NeededInFile(const std::vector<lidar::TableLoad>& files, const std::string& word) {
  const auto found = std::find_if(files.begin(), files.end(),
                                  [&](const lidar::TableLoad& file) { return file.table == word; });
  return found == files.end() ? 0 : found->needed;
}

TableDifference Compare(const lidar::TableUpload& table, const char* sent, const char* loaded) {
  TableDifference difference = {table.table, 0, 0};
  for (std::size_t i = 0; i < table.needed; ++i) {
    const std::size_t at = i * sizeof(float);
    if (std::memcmp(sent + at, loaded + at, sizeof(float)) == 0) continue;
    if (difference.numbers++ == 0) difference.first = i;
  }
  return difference;
}

}  // namespace

std::vector<sim::CheckTable> SentTables(const Model& model, lidar::ParamService& service) {
  std::vector<sim::CheckTable> tables;
  const char* field = FirstField(model, service);
  for (const lidar::TableUpload& table : service.UploadedTables()) {
    tables.push_back(Layout(table.table, table.needed));
    const std::size_t bytes = table.needed * sizeof(float);
    std::memcpy(tables.back().values.data(), field, bytes);
    field += bytes;
  }
  return tables;
}

std::vector<sim::CheckTable> FilesOf(const Model& model, std::vector<sim::CheckTable> tables) {
  const auto files = NeededFiles(model);
  for (sim::CheckTable& table : tables) {
    const std::vector<float> once = table.values;
    const std::size_t needed = NeededInFile(files, table.word);
    while (table.values.size() < needed) {
      table.values.insert(table.values.end(), once.begin(), once.end());
    }
  }
  return tables;
}

std::vector<TableDifference> CompareFolder(const Model& model, const std::string& folder,
                                           lidar::ParamService& sent) {
  lidar::ParamService loaded;
  if (!loaded.LoadCheckFolder(model.type, folder)) {
    throw Failure(ExitCode::kFileFault,
                  CheckFolderFault(model, folder, ExamineCheckFolder(model, folder)));
  }
  std::vector<TableDifference> differences;
  std::size_t at = 0;
  for (const lidar::TableUpload& table : sent.UploadedTables()) {
    const TableDifference found =
        Compare(table, FirstField(model, sent) + at, FirstField(model, loaded) + at);
    if (found.numbers > 0) differences.push_back(found);
    at += table.needed * sizeof(float);
  }
  return differences;
}

}  // namespace orliq::cli
