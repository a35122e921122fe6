// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/GrowingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr mode_t kMode = 0666;  // less what the user's umask takes away

[[noreturn]] void ThrowFault(const std::filesystem::path& path) {
  const int reason = errno;
  if (reason == EEXIST) {
    throw Failure(ExitCode::kFileFault, path.string() + " exists: --force replaces it");
  }
  throw Failure(ExitCode::kFileFault,
                "cannot write " + path.string() + ": " + std::generic_category().message(reason));
}

std::filesystem::path HiddenName(const std::filesystem::path& path) {
  const std::string name = "." + path.filename().string() + "." + std::to_string(::getpid());
  return path.parent_path() / (name + ".part");
}

}  // namespace

GrowingFile::GrowingFile(std::filesystem::path path, Name name, bool replace)
    : path_(std::move(path)),
      hidden_path_(name == Name::kWhenWhole ? HiddenName(path_) : std::filesystem::path()),
      descriptor_(-1) {
  const bool may_exist = replace || name == Name::kWhenWhole;
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (may_exist ? O_TRUNC : O_EXCL);
  descriptor_ = ::open((hidden_path_.empty() ? path_ : hidden_path_).c_str(), flags, kMode);
  if (descriptor_ < 0) ThrowFault(path_);
}

GrowingFile::~GrowingFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!hidden_path_.empty()) ::unlink(hidden_path_.c_str());
}

void GrowingFile::Append(std::string_view piece) {
  std::uint64_t end = bytes_;
  while (!piece.empty()) {
    const ssize_t written =
        ::pwrite(descriptor_, piece.data(), piece.size(), static_cast<off_t>(end));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) {
      const int reason = errno;
      // A reader is not to take the beginning of a piece for one; the next piece covers it anyway.
      if (::ftruncate(descriptor_, static_cast<off_t>(bytes_)) != 0) errno = 0;
      errno = reason;
      ThrowFault(path_);
    }
    piece.remove_prefix(static_cast<std::size_t>(written));
    end += static_cast<std::uint64_t>(written);
  }
  bytes_ = end;
}

void GrowingFile::Sync() {
  if (::fdatasync(descriptor_) != 0) ThrowFault(path_);
}

void GrowingFile::Finish() {
  if (::fsync(descriptor_) != 0) ThrowFault(path_);
  // Closed in any case: a second close of the same number could hit another file.
  if (::close(std::exchange(descriptor_, -1)) != 0) ThrowFault(path_);
  if (hidden_path_.empty()) return;
  if (std::rename(hidden_path_.c_str(), path_.c_str()) != 0) ThrowFault(path_);
  hidden_path_.clear();
}

}  // namespace orliq::cli
