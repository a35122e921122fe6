// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "orliq/terminal/Json.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {

/// Columns of text under a heading, right-aligned where `align_right` says so.
struct Table {
  std::string title;
  std::vector<std::string> columns;
  std::vector<bool> align_right;
  std::vector<std::vector<std::string>> rows;
};

/// What a verb has to tell, written once and shown either as aligned text or as one JSON object.
class Report {
 public:
  /// A line "label  text" and the JSON member `key`. An empty label is for JSON only.
  void Add(const std::string& key, const std::string& label, Json value, const std::string& text);

  /// A table, and the JSON member `key` for it.
  void Add(const std::string& key, Json value, Table table);

  /// Text of its own form, behind all lines and tables; JSON has none of it.
  void AddText(const std::string& text) { free_text_ += text; }
  /// A table for people only.
  void Add(Table table) { tables_.push_back(std::move(table)); }

  void PrintText(std::ostream& out) const;
  const Json& AsJson() const { return json_; }

 private:
  struct Line {
    std::string label, text;
  };

  Json json_ = Json::Object();
  std::vector<Line> lines_;
  std::vector<Table> tables_;
  std::string free_text_;
};

}  // namespace orliq::cli
