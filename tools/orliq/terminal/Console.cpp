// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Console.h"

#include <iostream>

namespace orliq::cli {

Console::Console() : original_(std::cout.rdbuf(&nowhere_)), out_(original_) {}

Console::~Console() {
  std::cout.rdbuf(original_);
}

void Console::ShowLibraryLines() {
  std::cout.rdbuf(std::cerr.rdbuf());
}

void Console::Note(const std::string& sentence) const {
  if (!quiet_) std::cerr << "note: " + sentence + '\n';
}

}  // namespace orliq::cli
