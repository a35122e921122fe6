// SPDX-License-Identifier: Apache-2.0
// A check-parameter file of any content: its numbers are what the C library makes of its fields.
#include <cstring>
#include <sstream>

#include "fuzz/MemoryFile.h"
#include "param/TableFile.h"

namespace orliq {
namespace {

std::vector<float> Numbers(std::istringstream text, lidar::TableColumns columns) {
  std::vector<float> numbers;
  for (std::string line, field; std::getline(text, line);) {
    std::istringstream fields(line);
    for (std::size_t i = 0; std::getline(fields, field, ','); ++i) {
      if (i % columns.step != columns.first) continue;
      numbers.push_back(static_cast<float>(std::strtod(field.c_str(), nullptr)));
    }
  }
  return numbers;
}

}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  constexpr std::size_t kKept = 100;  // numbers
  const fuzz::MemoryFile file(data, size);
  for (const lidar::TableColumns columns : {lidar::TableColumns{0, 1}, {1, 2}, {2, 3}}) {
    const auto expected = Numbers(std::istringstream({data, data + size}), columns);
    std::vector<float> kept;
    const auto read = lidar::ReadTableFile(file.Path(), columns, kKept, kept);
    fuzz::Require(read.readable && read.found == expected.size() && read.text <= kept.size());
    fuzz::Require(kept.size() == std::min(kKept, expected.size()));
    fuzz::Require(kept.empty() || std::memcmp(kept.data(), expected.data(), 4 * kept.size()) == 0);
  }
  return 0;
}
