// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SimulatedFolder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <system_error>
#include <utility>

#include "orliq/clouds/CloudWriter.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/TableFiles.h"
#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/ExitCode.h"
#include "simulator/sensors/CheckFolder.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kList[] = "simulated.txt";
constexpr char kListTitle[] = "Written by orliq simulate, which may replace these files:";

[[noreturn]] void ThrowFault(const std::string& sentence) {
  throw Failure(ExitCode::kFileFault, sentence);
}

[[noreturn]] void ThrowForeign(const std::string& folder, const std::string& name) {
  ThrowFault("the folder " + folder + " holds " + name +
             ", which no simulation wrote: simulate writes its calibration there, so name an empty "
             "folder, or add --force to replace what is there");
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

fs::path Resolved(const fs::path& path) {
  std::error_code error;
  const fs::path absolute = fs::absolute(path, error);
  return fs::weakly_canonical(absolute, error);
}

/// The name of a capture that is written to the folder too. It must not be taken for a table.
std::string CaptureNameIn(const std::string& folder, const std::string& capture) {
  const fs::path name = fs::path(capture).filename();
  if (capture.empty() || Resolved(folder / name) != Resolved(capture)) return {};
  if (name == kList || !TableWordIn(name.string()).empty()) {
    ThrowFault("in the check folder " + name.string() +
               " is no name for a capture: write it to another folder, or choose another name");
  }
  return name.string();
}

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

/// Refuses a folder with anything that neither is listed as written nor equals what will be, and is
/// not the capture either.
void RequireOwnFiles(const std::string& folder, const std::string& capture,
                     const Checksums& fresh) {
  const Checksums listed = ReadList(fs::path(folder) / kList);
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const std::string name = entry.path().filename().string();
    if ((name == kList && !listed.empty()) || name.rfind(sim::kUnfinished, 0) == 0) continue;
    if (!capture.empty() && (name == capture || name == capture + ".part")) continue;
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

SimulatedFolder::SimulatedFolder(const sim::Sensor& sensor, std::string folder,
                                 const std::string& capture, bool force)
    : sensor_(sensor), folder_(std::move(folder)), force_(force) {
  const std::string capture_here = CaptureNameIn(folder_, capture);
  MakeFolder(folder_);
  const Checksums fresh = FreshTables(sensor_);
  if (!force_ && !fresh.empty()) RequireOwnFiles(folder_, capture_here, fresh);
}

void SimulatedFolder::Write() const {
  const Checksums fresh = FreshTables(sensor_);
  if (fresh.empty()) return;
  std::string error;
  if (!sensor_.WriteCheckFolder(folder_, error)) ThrowFault(error);
  if (force_) RemoveOtherTables(folder_, sensor_.Tables());
  WriteList(fs::path(folder_) / kList, fresh);
}

}  // namespace orliq::cli
