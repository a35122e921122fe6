// SPDX-License-Identifier: Apache-2.0
#include "param/TableFile.h"

#include <fcntl.h>
#include <locale.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace orliq::lidar {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{256} << 20;  // [bytes] 100 times the largest table

bool IsBearable(const struct stat& status) {
  return S_ISREG(status.st_mode) && static_cast<std::size_t>(status.st_size) <= kMaxFileSize;
}

/// Reads to the end of the file, which may be longer or shorter than its status said.
bool ReadAll(int descriptor, std::size_t expected, std::string& bytes) {
  std::size_t size = 0;
  bytes.resize(expected + 1);  // one more, so that the end is seen without growing
  while (true) {
    const ssize_t got = ::read(descriptor, &bytes[size], bytes.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (size > kMaxFileSize) return false;
    if (size == bytes.size()) bytes.resize(std::min(2 * size, kMaxFileSize + 1));
  }
  bytes.resize(size);
  return true;
}

bool ReadRegularFile(const std::string& path, std::string& bytes) {
  struct stat status {};
  // Looked at before it is opened, since opening a device can have effects of its own.
  if (::stat(path.c_str(), &status) != 0 || !IsBearable(status)) return false;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return false;
  const bool done = ::fstat(descriptor, &status) == 0 && IsBearable(status) &&
                    ReadAll(descriptor, static_cast<std::size_t>(status.st_size), bytes);
  ::close(descriptor);
  return done;
}

/// Rounds to nearest; the language leaves the conversion of a number above the largest float open.
float Narrow(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  constexpr double kRoundsUp = 0x1.ffffffp127;  // half way from there to the next power of two
  const double size = std::fabs(number);
  if (size <= kLargest || std::isnan(number)) return static_cast<float>(number);
  const float narrow =
      size < kRoundsUp ? std::numeric_limits<float>::max() : std::numeric_limits<float>::infinity();
  return std::copysign(narrow, number < 0 ? -1.0F : 1.0F);
}

/// The parser itself: walks over the bytes of a file, which end with a newline of its own making.
class TableText {
 public:
  TableText(std::string& bytes, TableColumns columns, std::size_t keep, std::vector<float>& values)
      : columns_(columns), keep_(keep), values_(values) {
    columns_.step = std::max<std::size_t>(columns_.step, 1);
    bytes += '\n';
    next_ = bytes.data();
    end_ = next_ + bytes.size();
  }

  /// Reads all lines.
  TableRead Read() {
    while (next_ < end_ - 1) ReadLine();
    return {true, found_, text_};
  }

 private:
  void ReadLine() {
    std::size_t wanted = columns_.first;
    for (std::size_t field = 0; *next_ != '\n'; ++field) {
      if (field == wanted) {
        wanted += columns_.step;
        if (found_++ < keep_) values_.push_back(Narrow(Number()));
      }
      SkipField();
    }
    ++next_;
  }

  void SkipField() {
    while (!IsFieldEnd(*next_)) ++next_;
    if (*next_ == ',') ++next_;
  }

  /// The number at the start of the field. The common notation is read here; whatever is unusual
  /// about a field is left to the C library.
  double Number() {
    double number = 0.0;
    const auto [stop, error] = std::from_chars(next_, end_, number);
    const bool whole = IsFieldEnd(*stop) || *stop == '\r' || *stop == ' ';
    if (error != std::errc() || !whole || !std::isfinite(number)) return UnusualNumber();
    next_ += stop - next_;
    return number;
  }

  double UnusualNumber() {
    static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
    char* const stop = std::find_if(next_, end_, IsFieldEnd);
    const char separator = *stop;
    *stop = '\0';
    // Without memory for a locale, 0 as for text that is no number.
    char* rest = next_;
    const double number = locale == nullptr ? 0.0 : ::strtod_l(next_, &rest, locale);
    if (rest == next_) ++text_;
    *stop = separator;
    next_ = stop;
    return number;
  }

  static bool IsFieldEnd(char c) { return c == ',' || c == '\n'; }

  TableColumns columns_;
  std::size_t keep_;
  std::vector<float>& values_;
  std::size_t found_ = 0;
  std::size_t text_ = 0;
  char* next_;
  char* end_;
};

}  // namespace

TableRead ReadTableFile(const std::string& path, TableColumns columns, std::size_t keep,
                        std::vector<float>& values) {
  std::string bytes;
  if (!ReadRegularFile(path, bytes)) return {};
  return TableText(bytes, columns, keep, values).Read();
}

}  // namespace orliq::lidar
