// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Remarks.h"

#include <algorithm>

namespace orliq::cli {

std::string Remarks::Name(std::string option) const {
  if (!AreOfFile()) return "--" + option;
  std::replace(option.begin(), option.end(), '-', '_');
  return option;
}

std::string Remarks::Setting(const std::string& option) const {
  return Name(option) + (AreOfFile() ? ":" : "");
}

}  // namespace orliq::cli
