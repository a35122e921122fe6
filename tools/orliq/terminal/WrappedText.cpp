// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/WrappedText.h"

#include <algorithm>
#include <sstream>

namespace orliq::cli {

std::string Wrapped(const std::string& head, const std::string& text, std::size_t columns) {
  const std::string indent(head.size(), ' ');
  std::istringstream lines(text);
  std::string wrapped;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
    const std::string own(blanks == 0 ? 0 : blanks + 2, ' ');
    line.insert(0, wrapped.empty() ? head : indent);
    while (line.size() > columns) {
      // Up to where its first word ends, a break would gain nothing.
      const std::size_t least = std::max(indent.size(), line.find_first_not_of(' '));
      std::size_t blank = line.rfind(' ', columns);
      if (blank == std::string::npos || blank <= least) blank = line.find(' ', columns);
      if (blank == std::string::npos) break;
      wrapped += line.substr(0, blank) + '\n';
      line.replace(0, blank + 1, indent + own);
    }
    wrapped += line + '\n';
  }
  return wrapped;
}

}  // namespace orliq::cli
