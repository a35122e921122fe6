// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/HelpText.h"

#include <sstream>

namespace orliq::cli {

std::string WrapHelp(const std::string& text) {
  std::istringstream lines(text);
  std::string wrapped;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t indent = line.rfind("  ", 0) == 0 ? kHelpTextColumn : 0;
    while (line.size() > kHelpColumns) {
      const std::size_t blank = line.rfind(' ', kHelpColumns);
      if (blank == std::string::npos || blank <= indent) break;
      wrapped += line.substr(0, blank) + '\n';
      line = std::string(indent, ' ') + line.substr(blank + 1);
    }
    wrapped += line + '\n';
  }
  return wrapped;
}

}  // namespace orliq::cli
