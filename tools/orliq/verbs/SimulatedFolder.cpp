// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/SimulatedFolder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <system_error>

#include "orliq/clouds/CloudWriter.h"
#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/ExitCode.h"
#include "simulator/sensors/CheckFolder.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kList[] = "simulated.txt";
constexpr char kListTitle[] = "Written by orliq simulate, which may replace these files:";
constexpr char kUnfinished[] = "unfinished.tmp";  // what a killed simulation leaves

[[noreturn]] void ThrowFault(const std::string& sentence) {
  throw Failure(ExitCode::kFileFault, sentence);
}

[[noreturn]] void ThrowForeign(const std::string& folder, const std::string& name) {
  ThrowFault("the folder " + folder + " holds " + name +
             ", which no simulation wrote: simulate writes its calibration to --check-folder, so "
             "name an empty folder, or add --force to replace what is there");
}

/// FNV-1a in hexadecimal digits: it tells of a change, not of an attack.
std::string Checksum(const std::string& bytes) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const char byte : bytes) sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  std::ostringstream text;
  text << std::hex << sum;
  return text.str();
}

std::string Content(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

using Checksums = std::map<std::string, std::string>;  // by file name

/// Of the tables that the sensor writes now.
Checksums FreshTables(const sim::Sensor& sensor) {
  Checksums sums;
  for (const sim::CheckTable& table : sensor.Tables()) {
    sums[sim::TableFileName(table)] = Checksum(sim::TableText(table));
  }
  return sums;
}

Checksums ReadList(const fs::path& path) {
  std::ifstream file(path);
  std::string title;
  std::getline(file, title);
  Checksums sums;
  if (title != kListTitle) return sums;
  for (std::string sum, name; file >> sum >> name;) sums[name] = sum;
  return sums;
}

void WriteList(const fs::path& path, const Checksums& sums) {
  std::string text = std::string(kListTitle) + '\n';
  for (const auto& [name, sum] : sums) text.append(sum).append(" ").append(name).append("\n");
  AtomicFile file(path);
  file.Write(text.data(), text.size());
  file.Commit();
}

/// Refuses a folder with anything that neither is listed as written nor equals what will be.
void RequireOwnFiles(const std::string& folder, const Checksums& fresh) {
  const Checksums listed = ReadList(fs::path(folder) / kList);
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    if ((name == kList && !listed.empty()) || name == kUnfinished) continue;
    const bool plain = entry.is_regular_file(error);
    const std::string sum = plain ? Checksum(Content(entry.path())) : std::string();
    const auto is_in = [&](const Checksums& sums) {
      const auto found = sums.find(name);
      return found != sums.end() && found->second == sum;
    };
    if (plain && (is_in(listed) || is_in(fresh))) continue;
    ThrowForeign(folder, name);
  }
  if (error) ThrowFault("the folder " + folder + " cannot be listed: " + error.message());
}

}  // namespace

void WriteSimulatedFolder(const sim::Sensor& sensor, const std::string& folder, bool force) {
  const Checksums fresh = FreshTables(sensor);
  MakeFolder(folder);
  if (fresh.empty()) return;
  if (!force) RequireOwnFiles(folder, fresh);
  std::string error;
  if (!sensor.WriteCheckFolder(folder, error)) ThrowFault(error);
  WriteList(fs::path(folder) / kList, fresh);
}

}  // namespace orliq::cli
