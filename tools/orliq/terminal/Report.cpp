// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Report.h"

#include <algorithm>
#include <utility>

namespace orliq::cli {
namespace {

std::string Padded(const std::string& text, std::size_t width, bool align_right) {
  const std::string blanks(width - std::min(width, text.size()), ' ');
  return align_right ? blanks + text : text + blanks;
}

void PrintRow(std::ostream& out, const Table& table, const std::vector<std::string>& cells,
              const std::vector<std::size_t>& widths) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += "  " + Padded(cells[i], widths[i], table.align_right[i]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out << line << '\n';
}

void PrintTable(std::ostream& out, const Table& table) {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    std::size_t width = table.columns[i].size();
    for (const auto& row : table.rows) width = std::max(width, row[i].size());
    widths.push_back(width);
  }
  out << '\n' << table.title << '\n';
  if (table.rows.empty()) {
    out << "  none\n";
    return;
  }
  if (!table.columns.front().empty()) PrintRow(out, table, table.columns, widths);
  for (const auto& row : table.rows) PrintRow(out, table, row, widths);
}

}  // namespace

void Report::Add(const std::string& key, const std::string& label, Json value,
                 const std::string& text) {
  json_[key] = std::move(value);
  if (!label.empty()) lines_.push_back({label, text});
}

void Report::Add(const std::string& key, Json value, Table table) {
  json_[key] = std::move(value);
  tables_.push_back(std::move(table));
}

void Report::PrintText(std::ostream& out) const {
  std::size_t width = 0;
  for (const Line& line : lines_) width = std::max(width, line.label.size());
  for (const Line& line : lines_) {
    out << Padded(line.label, width, false) << "  " << line.text << '\n';
  }
  for (const Table& table : tables_) PrintTable(out, table);
  out << free_text_;
}

}  // namespace orliq::cli
