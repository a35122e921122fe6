// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/AtomicFile.h"

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
  throw Failure(ExitCode::kFileFault,
                "cannot write " + path.string() + ": " + std::generic_category().message(errno));
}

std::filesystem::path HiddenName(const std::filesystem::path& path) {
  const std::string name = "." + path.filename().string() + "." + std::to_string(::getpid());
  return path.parent_path() / (name + ".part");
}

}  // namespace

AtomicFile::AtomicFile(std::filesystem::path path)
    : path_(std::move(path)),
      hidden_path_(HiddenName(path_)),
      descriptor_(::open(hidden_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode)) {
  if (descriptor_ < 0) ThrowFault(path_);
}

AtomicFile::~AtomicFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!hidden_path_.empty()) ::unlink(hidden_path_.c_str());
}

void AtomicFile::Write(const void* bytes, std::size_t size) {
  const char* next = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = ::write(descriptor_, next, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) ThrowFault(path_);
    next += written;
    size -= static_cast<std::size_t>(written);
  }
}

void AtomicFile::Commit() {
  if (::fsync(descriptor_) != 0) ThrowFault(path_);
  // Closed in any case: a second close of the same number could hit another file.
  if (::close(std::exchange(descriptor_, -1)) != 0) ThrowFault(path_);
  if (std::rename(hidden_path_.c_str(), path_.c_str()) != 0) ThrowFault(path_);
  hidden_path_.clear();
}

}  // namespace orliq::cli
