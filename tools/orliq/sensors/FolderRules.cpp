// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/FolderRules.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/PlainText.h"
#include "param/CheckParam.h"
#include "param/TableFile.h"

namespace orliq::cli {
namespace {

using lidar::TableLoad;

std::size_t Used(const CheckedTable& table) {
  if (table.HasBeams()) return lidar::kBeamPositions;
  return table.word == "weight" ? lidar::kWeights : lidar::kNearFilters;
}

/// "azimuth, elevation, weight, near_filter".
std::string Words(const std::vector<CheckedTable>& tables) {
  std::string words;
  for (const CheckedTable& table : tables) words += (words.empty() ? "" : ", ") + table.word;
  return words;
}

std::string NeedsText(const std::vector<CheckedTable>& tables) {
  std::string text;
  for (const CheckedTable& table : tables) {
    text += (text.empty() ? "" : ", ") + table.word + ' ' + Grouped(table.needed);
  }
  return text;
}

bool HasOffset(const std::vector<CheckedTable>& tables) {
  return tables.back().word == "offset";
}

/// A weight file of plain numbers loses the first of each line.
bool LacksLabels(const CheckedTable& table, const TableLoad& file) {
  if (table.word != "weight" || file.accepted) return false;
  std::vector<float> values;
  const auto whole = lidar::ReadTableFile(file.path, {}, lidar::kWeights, values);
  return whole.found >= table.needed && whole.text == 0;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  });
  return text;
}

/// The words are looked for in lower case only.
void AddCapitals(const CheckedTable& table, const std::vector<TableLoad>& files,
                 std::vector<std::string>& hints) {
  for (const TableLoad& file : files) {
    const bool other = !file.table.empty() || !table.files.empty();
    if (other || LowerCase(FileName(file)).find(table.word) == std::string::npos) continue;
    hints.push_back(PlainText(FileName(file)) + " would be the " + table.word +
                    " table if the word were in lower case");
  }
}

/// "0,5" counts as two numbers.
void AddCommas(const CheckedTable& table, std::vector<std::string>& hints) {
  for (const TableLoad& file : table.files) {
    if (file.found * 10 < table.needed * 19 || file.found * 10 > table.needed * 21) continue;
    hints.push_back(PlainText(FileName(file)) +
                    " holds twice the numbers: are there decimal commas in it? The decimal sign is "
                    "a point");
  }
}

bool IsForAnotherModel(const CheckedTable& table, const TableLoad& file) {
  return !file.accepted && file.found >= Used(table);
}

void AddCount(const std::vector<CheckedTable>& tables, const std::vector<TableLoad>& files,
              std::vector<std::string>& hints) {
  const auto good = std::count_if(files.begin(), files.end(),
                                  [](const TableLoad& file) { return file.accepted; });
  if (HasOffset(tables) || good <= 4) return;
  hints.push_back(std::to_string(good) + " files are good, but there must be exactly four");
}

}  // namespace

std::vector<std::string> FolderRules(const Model& model, const std::vector<CheckedTable>& tables) {
  const bool fourfold = tables.front().needed > Used(tables.front());
  const std::string end =
      fourfold ? std::string(", four times what ") + model.name + " uses." : ".";
  const char* const count = HasOffset(tables) ? "more than three" : "exactly four";
  return {"Every file that lies directly in the folder is looked at; folders in it are not.",
          "A file is taken for the first of " + Words(tables) + " whose word its whole path holds.",
          "Words are tried in this order, and in lower case only.",
          "So the path of the folder itself must hold none of these words.",
          "A file must hold at least: " + NeedsText(tables) + " numbers" + end,
          "The first field of each line of a weight file is a label and no number.",
          std::string("Files are counted, not tables: ") + count + " must be good.",
          "A copy such as azimuth.csv~ counts, too. Of two files for one table the later is used.",
          "Files come in the order in which the system lists them, which is none to rely on."};
}

std::vector<std::string> FolderHints(const Model& model, const std::vector<CheckedTable>& tables,
                                     const std::vector<TableLoad>& files) {
  std::vector<std::string> hints;
  AddCount(tables, files, hints);
  bool told = false;
  for (const CheckedTable& table : tables) {
    for (const TableLoad& file : table.files) {
      const std::string name = PlainText(FileName(file));
      if (LacksLabels(table, file)) {
        hints.push_back(name + " seems to lack the label that begins each line of a weight file");
      } else if (!told && IsForAnotherModel(table, file)) {
        told = true;
        hints.push_back(name + " would do for another model: " + model.name + " asks for " +
                        std::to_string(table.needed / Used(table)) +
                        " times the numbers that it uses");
      }
    }
    AddCommas(table, hints);
    AddCapitals(table, files, hints);
  }
  return hints;
}

}  // namespace orliq::cli
