// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/CheckFolder.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <system_error>

namespace orliq::sim {
namespace {

namespace fs = std::filesystem;

void AppendNumber(std::string& text, float value) {
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  text.append(digits.data(), end);
}

bool WriteWhole(const fs::path& path, const std::string& text, std::string& error) {
  // The name of the half-written file holds no table's word: left behind by a crash, it is ignored.
  const fs::path part = path.parent_path() / (kUnfinished + std::to_string(::getpid()));
  std::ofstream file(part, std::ios::binary | std::ios::trunc);
  file << text;
  file.close();
  std::error_code fault(file ? 0 : errno, std::generic_category());
  if (!fault) fs::rename(part, path, fault);
  if (!fault) return true;
  error = "cannot write " + path.string() + ": " + fault.message();
  fs::remove(part, fault);
  return false;
}

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
  for (const CheckTable& table : tables) {
    if (!WriteWhole(folder / TableFileName(table), TableText(table), error)) {
      return false;
    }
  }
  return true;
}

}  // namespace orliq::sim
