// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/CheckFolder.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

namespace orliq::sim {
namespace {

namespace fs = std::filesystem;

/// The bits of a not-a-number behind its first one, which text brings back through a double.
std::uint32_t Payload(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits & 0x3FFFFFU;
}

void AppendNumber(std::string& text, float value) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  text.append(digits.data(), end);
  if (!std::isnan(value) || Payload(value) == 0) return;
  constexpr unsigned kFurtherBits = 29;  // that a double has
  text += '(' + std::to_string(std::uint64_t{Payload(value)} << kFurtherBits) + ')';
}

/// Writes a file under a name of its own, to be renamed. The name holds no table's word: left behind
/// by a crash, the file is ignored.
bool WritePart(const fs::path& part, const std::string& text, std::error_code& fault) {
  std::ofstream file(part, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  if (!file) fault.assign(errno != 0 ? errno : EIO, std::generic_category());
  return !fault;
}

/// The files of a folder that is being written, all of which are complete before the first one gets
/// its name. What has no name yet in the end is removed.
class Parts {
 public:
  explicit Parts(const fs::path& folder)
      : folder_(folder), stem_(kUnfinished + std::to_string(::getpid()) + '.') {}
  ~Parts() {
    std::error_code ignored;
    for (const auto& [part, path] : parts_) fs::remove(part, ignored);
  }
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;

  bool Write(const CheckTable& table, std::string& error) {
    const fs::path path = folder_ / TableFileName(table);
    parts_.emplace_back(folder_ / (stem_ + std::to_string(parts_.size())), path);
    std::error_code fault;
    return WritePart(parts_.back().first, TableText(table), fault) || Fail(path, fault, error);
  }

  bool Rename(std::string& error) const {
    std::error_code fault;
    for (const auto& [part, path] : parts_) {
      fs::rename(part, path, fault);
      if (fault) return Fail(path, fault, error);
    }
    return true;
  }

 private:
  static bool Fail(const fs::path& path, const std::error_code& fault, std::string& error) {
    error = "cannot write " + path.string() + ": " + fault.message();
    return false;
  }

  fs::path folder_;
  std::string stem_;
  std::vector<std::pair<fs::path, fs::path>> parts_;  // the present name and the final one
};

}  // namespace

std::string TableFileName(const CheckTable& table) {
  return table.word + ".csv";
}

std::string TableText(const CheckTable& table) {
  std::string text;
  for (std::size_t i = 0; i < table.values.size(); ++i) {
    const bool starts_line = i % table.per_line == 0;
    if (starts_line && table.labelled) {
      text += table.word + std::to_string(i / table.per_line) + ",";
    } else if (!starts_line) {
      text += ",";
    }
    AppendNumber(text, table.values[i]);
    if ((i + 1) % table.per_line == 0 || i + 1 == table.values.size()) {
      text += "\n";
    }
  }
  return text;
}

bool WriteTables(const fs::path& folder, const std::vector<CheckTable>& tables,
                 std::string& error) {
  for (const CheckTable& table : tables) {
    if (folder.string().find(table.word) != std::string::npos) {
      error = "the folder's path must not contain \"" + table.word +
              "\": its files could not be told apart: " + folder.string();
      return false;
    }
  }
  std::error_code fault;
  fs::create_directories(folder, fault);
  if (fault) {
    error = "cannot create " + folder.string() + ": " + fault.message();
    return false;
  }
  Parts parts(folder);
  for (const CheckTable& table : tables) {
    if (!parts.Write(table, error)) return false;
  }
  return parts.Rename(error);
}

}  // namespace orliq::sim
