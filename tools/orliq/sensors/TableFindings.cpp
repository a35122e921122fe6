// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/TableFindings.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "orliq/sensors/BeamFindings.h"
#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/PlainText.h"

namespace orliq::cli {
namespace {

using lidar::TableLoad;

void AddFile(const CheckedTable& table, std::vector<Finding>& findings) {
  const TableLoad& file = *table.InUse();
  if (file.text > 0) {
    const bool one = file.text == 1;
    findings.push_back({"text",
                        table.word,
                        Count(file.text, "field") + (one ? " holds" : " hold") +
                            " no number and count" + (one ? "s" : "") + " as 0",
                        {}});
  }
  if (file.found > table.needed) {
    findings.push_back({"length",
                        table.word,
                        Grouped(file.found - table.needed) + " more numbers than the " +
                            Grouped(table.needed) + " of such a file: the first ones count",
                        {}});
  }
}

void AddNumbers(const CheckedTable& table, std::vector<Finding>& findings) {
  const auto& values = table.values;
  const auto add = [&](const char* kind, const std::string& text) {
    findings.push_back({kind, table.word, text, {}});
  };
  const auto bad =
      std::find_if(values.begin(), values.end(), [](float value) { return !std::isfinite(value); });
  if (bad != values.end()) {
    add("not_finite",
        "number [" + std::to_string(bad - values.begin()) + "] is " + Significant(*bad));
  }
  if (std::all_of(values.begin(), values.end(), [](float value) { return value == 0.0F; })) {
    add("constant", "all numbers are 0");
  }
}

/// The numbers of near_filter by which a Juniq switches and sets its radius filter.
void AddRadiusFilter(const CheckedTable& table, std::vector<Finding>& findings) {
  const float on = table.values[4], radius = table.values[5], neighbours = table.values[6];
  if (on != 0.0F && on != 1.0F) {
    findings.push_back({"switch",
                        table.word,
                        "number [4] is " + Significant(on) +
                            ": 1 switches the radius filter on, everything else off",
                        {}});
  }
  if (on == 1.0F && (radius <= 0.0F || neighbours > 8.0F)) {
    findings.push_back({"switch",
                        table.word,
                        "the radius filter removes nearly all points: radius [5] " +
                            Significant(radius) + " m, neighbours [6] " + Significant(neighbours) +
                            " of 8",
                        {}});
  }
}

bool IsSame(const CheckedTable& a, const CheckedTable& b) {
  return a.HasBeams() && b.HasBeams() && !a.values.empty() && a.values.size() == b.values.size() &&
         std::memcmp(a.values.data(), b.values.data(), a.values.size() * sizeof(float)) == 0;
}

/// Two tables of one number have been told of already.
bool IsConstant(const CheckedTable& table) {
  const ValueRange range = table.Range();
  return range.empty || range.min == range.max;
}

void AddTwins(const std::vector<CheckedTable>& tables, std::vector<Finding>& findings) {
  for (auto table = tables.begin(); table != tables.end(); ++table) {
    for (auto other = tables.begin(); other != table; ++other) {
      if (!IsSame(*table, *other) || IsConstant(*table)) continue;
      findings.push_back(
          {"twin", table->word, "its numbers are those of the " + other->word + " table", {}});
    }
  }
}

/// Its files may be those of a Juniq, whose folder loads for other models too.
void AddOtherModel(const std::vector<TableLoad>& files, std::vector<Finding>& findings) {
  for (const TableLoad& file : files) {
    const std::string name = FileName(file);
    if (!file.table.empty() || name.find("offset") == std::string::npos) continue;
    const std::string text = " is not used by this model: is the folder that of a juniq?";
    findings.push_back({"other_model", "offset", PlainText(name) + text, {}});
  }
}

}  // namespace

std::vector<Finding> FindSuspicious(const std::vector<CheckedTable>& tables,
                                    const std::vector<TableLoad>& files) {
  std::vector<Finding> findings;
  const bool has_offsets = !tables.empty() && tables.back().word == "offset";
  for (const CheckedTable& table : tables) {
    // A file that only the folder's name makes such a table was never meant for one.
    const TableLoad* const file = table.InUse();
    if (file == nullptr || FileName(*file).find(table.word) == std::string::npos) continue;
    AddFile(table, findings);
    if (table.HasBeams()) {
      auto more = FindInBeams(table);
      std::move(more.begin(), more.end(), std::back_inserter(findings));
      continue;
    }
    AddNumbers(table, findings);
    if (has_offsets && table.word == "near_filter") AddRadiusFilter(table, findings);
  }
  AddTwins(tables, findings);
  if (!has_offsets) AddOtherModel(files, findings);
  return findings;
}

}  // namespace orliq::cli
