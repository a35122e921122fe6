// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace orliq::test {

/// A folder of its own for a test, gone afterwards.
class TempDir {
 public:
  TempDir() {
    std::string name = (std::filesystem::temp_directory_path() / "orliq-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
  /// Writes a file of that content; its path.
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name, std::ios::binary) << text;
    return path_ / name;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  /// The files below it, or below a folder in it, by their names from there.
  std::set<std::string> Files(const std::string& folder = ".") const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_ / folder)) {
      if (entry.is_regular_file()) names.insert(entry.path().lexically_relative(path_ / folder));
    }
    return names;
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace orliq::test
