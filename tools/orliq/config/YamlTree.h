// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// What stands at one place of a YAML file.
struct YamlNode {
  enum class Kind { kNothing, kText, kList, kMapping };

  Kind kind = Kind::kNothing;
  int line = 1;                        ///< from 1
  std::string text;                    ///< of kText, numbers too: what one means, the reader knows
  bool quoted = false;                 ///< the text stands in quotes, so it is no number
  std::vector<const YamlNode*> items;  ///< of a list; of a mapping: key, value, key, value ...
};

/// The content of a YAML file. Aliases lead to the very node that they name, so a small file may be a
/// huge tree when walked: a reader goes only where it knows what it wants. There are no cycles.
class YamlTree {
 public:
  /// Reads a file of one document. Throws Failure: kFileFault when it cannot be read or is larger than
  /// 1 MiB, kUsage with its line for what is no YAML or beyond what is taken (tags, several
  /// documents), and when the program was built without YAML.
  explicit YamlTree(const std::string& path);

  YamlTree(const YamlTree&) = delete;
  YamlTree& operator=(const YamlTree&) = delete;

  /// Of the kind kNothing for an empty file.
  const YamlNode& Root() const { return *root_; }

 private:
  std::deque<YamlNode> nodes_;  // all of them: however deep the tree, destruction is flat
  const YamlNode* root_;
};

/// "FILE:LINE: why", with the code kUsage.
Failure FailureAt(const std::string& path, int line, const std::string& why);

}  // namespace orliq::cli
