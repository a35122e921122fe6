// SPDX-License-Identifier: Apache-2.0
// Runs a harness once with each file that is named, or stands in a folder that is. It fails when there
// is none, so that an empty corpus does not pass for a tested one.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "fuzz/FuzzInput.h"

namespace {

namespace fs = std::filesystem;

int Run(const fs::path& path) {
  if (!fs::is_regular_file(path)) return 0;
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  // Not a byte of memory is behind the input.
  const auto bytes = std::make_unique<std::uint8_t[]>(text.size());
  std::copy(text.begin(), text.end(), bytes.get());
  std::fprintf(stderr, "%s\n", path.c_str());  // the last one is that which ended the process
  LLVMFuzzerTestOneInput(bytes.get(), text.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    inputs += Run(argv[i]);
    if (!fs::is_directory(argv[i])) continue;
    for (const auto& entry : fs::directory_iterator(argv[i])) inputs += Run(entry.path());
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}
