// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orliq::cli {

/// One line on standard error that is written over again and again. It shows only on a terminal and
/// wipes itself out when it is destroyed.
class StatusLine {
 public:
  /// A silent line never shows.
  explicit StatusLine(bool silent);

  /// Whether Show has an effect.
  bool Enabled() const { return enabled_; }
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  /// Writes the text, cut to the width of the terminal.
  void Show(const std::string& text);

 private:
  bool enabled_;
  bool drawn_ = false;
};

}  // namespace orliq::cli
