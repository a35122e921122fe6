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

/// The format that the file's ending names; nothing for a folder.
std::optional<CloudFormat> EndingFormat(const std::filesystem::path& target) {
  if (IsFolder(target)) return std::nullopt;
  const std::string ending = target.extension().string();
  auto format = ParseCloudFormat(ending.substr(1));
  if (format) return format;
  throw Failure(ExitCode::kUsage,
                "--out " + target.string() + ": no clouds can be written as " + ending +
                    ", only as .pcd, .ply or .csv; for a folder of that name, add a slash");
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

CloudWriter::CloudWriter(std::filesystem::path target, const std::string& format, bool replace)
    : target_(std::move(target)) {
  const auto ending = EndingFormat(target_);
  single_file_ = ending.has_value();
  const CloudFormat by_ending = ending.value_or(CloudFormat::kPcd);
  format_ = format.empty() ? by_ending : RequireFormat(format);
  if (single_file_ && format_ != by_ending) {
    throw Failure(ExitCode::kUsage, "--format " + format + " contradicts the ending of " +
                                        target_.string() + ": leave one of them away");
  }
  if (!single_file_) stale_ = FindFrames(target_);
  if (!stale_.empty() && !replace) {
    throw Failure(ExitCode::kFileFault,
                  "the folder " + target_.string() + " holds " + Count(stale_.size(), "frame") +
                      " of an earlier run: name another, or replace them with --force");
  }
  MakeFolder(single_file_ ? target_.parent_path() : target_);
}

std::filesystem::path CloudWriter::FileName(int frame, int part) const {
  if (single_file_ && part == 0) return target_;
  std::string number = std::to_string(frame);
  if (number.size() < kFrameDigits) number.insert(0, kFrameDigits - number.size(), '0');
  if (part > 0) number += '_' + std::to_string(part);
  const auto folder = single_file_ ? target_.parent_path() : target_;
  return folder / (kFramePrefix + number + '.' + CloudFormatName(format_));
}

std::filesystem::path CloudWriter::Write(const CloudView& cloud, int frame, int part) {
  RemoveStale();
  auto path = FileName(frame, part);
  bytes_ += WriteCloud(path, format_, cloud);
  ++files_;
  return path;
}

void CloudWriter::RemoveStale() {
  for (const auto& stale : stale_) {
    std::error_code error;
    std::filesystem::remove(stale, error);
    if (!error) continue;
    throw Failure(ExitCode::kFileFault, "cannot remove " + stale.string() + ": " + error.message());
  }
  stale_.clear();
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
