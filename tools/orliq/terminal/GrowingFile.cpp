// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/GrowingFile.h"

#include <fcntl.h>
#include <sys/stat.h>
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

/// Whether it is a plain file, whose pieces can be taken back, and no pipe or device.
bool IsPlain(int descriptor) {
  struct stat status = {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// 0, or -1 with errno: EEXIST when there is a file of that name that may not be replaced.
int Rename(const char* from, const char* to, bool replace) {
  if (replace) return std::rename(from, to);
  const int result = ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
  // Some file systems cannot do it in one step.
  if (result == 0 || errno != EINVAL) return result;
  errno = EEXIST;
  return ::access(to, F_OK) == 0 ? -1 : std::rename(from, to);
}

}  // namespace

GrowingFile::GrowingFile(std::filesystem::path path, Name name, bool replace)
    : path_(std::move(path)),
      hidden_path_(name == Name::kWhenWhole ? HiddenName(path_) : std::filesystem::path()),
      replace_(replace),
      descriptor_(-1) {
  const bool may_exist = replace || name == Name::kWhenWhole;
  // Without waiting for somebody who reads a pipe.
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | (may_exist ? O_TRUNC : O_EXCL);
  descriptor_ = ::open((hidden_path_.empty() ? path_ : hidden_path_).c_str(), flags, kMode);
  const bool is_pipe = descriptor_ < 0 && errno == ENXIO;
  if (descriptor_ < 0 && !is_pipe) ThrowFault(path_);
  if (!is_pipe && IsPlain(descriptor_)) return;
  if (descriptor_ >= 0) ::close(descriptor_);
  throw Failure(ExitCode::kFileFault,
                "cannot write " + path_.string() + ": it is not a regular file");
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
  if (Rename(hidden_path_.c_str(), path_.c_str(), replace_) != 0) ThrowFault(path_);
  hidden_path_.clear();
}

}  // namespace orliq::cli
