// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Remarks.h"

#include <algorithm>

namespace orliq::cli {

std::string Remarks::Setting(std::string name) const {
  if (prefix_.empty()) return "--" + name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name + ':';
}

}  // namespace orliq::cli
