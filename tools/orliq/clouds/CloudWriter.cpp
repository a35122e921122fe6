// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudWriter.h"

#include <system_error>
#include <utility>

#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kFrameDigits = 6;  // files sort in frame order up to a million frames

/// The format that the file's ending names, if any.
std::optional<CloudFormat> EndingFormat(const std::filesystem::path& path) {
  const std::string ending = path.extension().string();
  return ending.empty() ? std::nullopt : ParseCloudFormat(ending.substr(1));
}

CloudFormat RequireFormat(const std::string& name) {
  const auto format = ParseCloudFormat(name);
  if (format) return *format;
  throw Failure(ExitCode::kUsage, "--format " + name + " is unknown: use pcd, ply or csv");
}

}  // namespace

CloudWriter::CloudWriter(std::filesystem::path target, const std::string& format)
    : target_(std::move(target)) {
  std::error_code ignored;
  const bool is_folder = std::filesystem::is_directory(target_, ignored);
  const auto ending = is_folder ? std::nullopt : EndingFormat(target_);
  single_file_ = ending.has_value();
  const CloudFormat by_ending = ending.value_or(CloudFormat::kPcd);
  format_ = format.empty() ? by_ending : RequireFormat(format);
  if (single_file_ && format_ != by_ending) {
    throw Failure(ExitCode::kUsage, "--format " + format + " contradicts the ending of " +
                                        target_.string() + ": leave one of them away");
  }
  MakeFolder(single_file_ ? target_.parent_path() : target_);
}

std::filesystem::path CloudWriter::FileName(int frame, int part) const {
  if (single_file_ && part == 0) return target_;
  std::string number = std::to_string(frame);
  if (number.size() < kFrameDigits) number.insert(0, kFrameDigits - number.size(), '0');
  if (part > 0) number += '_' + std::to_string(part);
  const auto folder = single_file_ ? target_.parent_path() : target_;
  return folder / ("frame_" + number + '.' + CloudFormatName(format_));
}

std::filesystem::path CloudWriter::Write(const CloudView& cloud, int frame, int part) {
  auto path = FileName(frame, part);
  bytes_ += WriteCloud(path, format_, cloud);
  ++files_;
  return path;
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
