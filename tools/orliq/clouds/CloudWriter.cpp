// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudWriter.h"

#include <system_error>
#include <utility>

#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kFrameDigits = 6;  // files sort in frame order up to a million frames

constexpr char kFramePrefix[] = "frame_";

bool IsFolder(const std::filesystem::path& target) {
  std::error_code ignored;
  return !target.has_extension() || std::filesystem::is_directory(target, ignored);
}

/// By the ending of a name, in either case of letters.
std::optional<CloudFormat> FormatOfEnding(const std::filesystem::path& path) {
  std::string ending = path.extension().string();
  for (char& letter : ending) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return ending.empty() ? std::nullopt : ParseCloudFormat(ending.substr(1));
}

/// The format that the file's ending names; nothing for a folder.
std::optional<CloudFormat> EndingFormat(const std::filesystem::path& target) {
  if (IsFolder(target)) return std::nullopt;
  auto format = FormatOfEnding(target);
  if (format) return format;
  throw Failure(ExitCode::kUsage,
                "--out " + target.string() + ": no clouds can be written as " +
                    target.extension().string() +
                    ", only as .pcd, .ply, .csv or .mcap; for a folder of that name, add a slash");
}

/// Whether a CloudWriter gave the file its name: "frame_000123.pcd", "frame_000123_1.ply".
bool IsFrameFile(const std::filesystem::path& path) {
  const std::string name = path.stem().string();
  const std::string ending = path.extension().string();
  return !ending.empty() && ParseCloudFormat(ending.substr(1)) &&
         name.rfind(kFramePrefix, 0) == 0 &&
         name.find_first_not_of("0123456789_", sizeof(kFramePrefix) - 1) == std::string::npos;
}

std::vector<std::filesystem::path> FindFrames(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> frames;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
    if (IsFrameFile(entry.path())) frames.push_back(entry.path());
  }
  return frames;
}

CloudFormat RequireFormat(const std::string& name) {
  const auto format = ParseCloudFormat(name);
  if (format) return *format;
  throw Failure(ExitCode::kUsage, "--format " + name + " is unknown: use pcd, ply or csv");
}

}  // namespace

CloudTarget ExamineTarget(const std::filesystem::path& path, const std::string& format,
                          bool replace) {
  const auto ending = EndingFormat(path);
  const CloudFormat by_ending = ending.value_or(CloudFormat::kPcd);
  CloudTarget target = {
      path, format.empty() ? by_ending : RequireFormat(format), ending.has_value(), {}};
  if (target.single_file && target.format != by_ending) {
    throw Failure(ExitCode::kUsage, "--format " + format + " contradicts the ending of " +
                                        path.string() + ": leave one of them away");
  }
  std::error_code ignored;
  if (target.single_file && !replace && std::filesystem::exists(path, ignored)) {
    throw Failure(ExitCode::kFileFault, path.string() + " exists: --force replaces it");
  }
  if (!target.single_file) target.stale = FindFrames(path);
  if (target.stale.empty() || replace) return target;
  throw Failure(ExitCode::kFileFault,
                "the folder " + path.string() + " holds " + Count(target.stale.size(), "frame") +
                    " of an earlier run: name another, or replace them with --force");
}

CloudWriter::CloudWriter(const std::filesystem::path& target, const std::string& format,
                         bool replace)
    : target_(ExamineTarget(target, format, replace)) {
  MakeFolder(target_.single_file ? target.parent_path() : target);
  const AtomicFile trial(FileName(0, 0));  // a fault shows now, not after hours
}

std::filesystem::path CloudWriter::FileName(int frame, int part) const {
  if (target_.single_file && part == 0) return target_.path;
  std::string number = std::to_string(frame);
  if (number.size() < kFrameDigits) number.insert(0, kFrameDigits - number.size(), '0');
  if (part > 0) number += '_' + std::to_string(part);
  const auto folder = target_.single_file ? target_.path.parent_path() : target_.path;
  return folder / (kFramePrefix + number + '.' + CloudFormatName(target_.format));
}

std::filesystem::path CloudWriter::Write(const CloudView& cloud, int frame, int part) {
  RemoveStale();
  auto path = FileName(frame, part);
  bytes_ += WriteCloud(path, target_.format, cloud);
  ++files_;
  return path;
}

std::string CloudWriter::Contents() const {
  return Count(files_, CloudFormatName(target_.format) + " file");
}

void CloudWriter::RemoveStale() {
  for (const auto& stale : target_.stale) {
    std::error_code error;
    std::filesystem::remove(stale, error);
    if (!error) continue;
    throw Failure(ExitCode::kFileFault, "cannot remove " + stale.string() + ": " + error.message());
  }
  target_.stale.clear();
}

std::uint64_t WriteCloud(const std::filesystem::path& path, CloudFormat format,
                         const CloudView& cloud) {
  const std::string header = CloudHeader(format, cloud);
  const std::string rows = format == CloudFormat::kCsv ? CsvRows(cloud) : std::string();
  const void* body = rows.empty() ? static_cast<const void*>(cloud.records) : rows.data();
  const std::size_t body_bytes =
      format == CloudFormat::kCsv ? rows.size() : cloud.points * cloud.record_bytes;
  AtomicFile file(path);
  file.Write(header.data(), header.size());
  file.Write(body, body_bytes);
  file.Commit();
  return header.size() + body_bytes;
}

void MakeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  if (!folder.empty()) std::filesystem::create_directories(folder, error);
  if (error) {
    throw Failure(ExitCode::kFileFault,
                  "cannot make the folder " + folder.string() + ": " + error.message());
  }
}

}  // namespace orliq::cli
