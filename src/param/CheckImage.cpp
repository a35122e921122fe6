// SPDX-License-Identifier: Apache-2.0
#include "param/CheckImage.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace orliq::lidar {
namespace {

constexpr std::size_t kFlagBytes = 4;  // of a marker, and what its position is a multiple of

/// The position of a marker; `end` when it is missing.
std::size_t FindFlag(const std::vector<std::uint8_t>& image, std::size_t end,
                     const std::string& flag) {
  for (std::size_t at = 0; at < end && at + kFlagBytes <= image.size(); at += kFlagBytes) {
    if (std::memcmp(image.data() + at, flag.data(), kFlagBytes) == 0) return at;
  }
  return end;
}

}  // namespace

std::vector<std::string> GetFlags(const LidarType& type) {
  switch (type) {
    case LidarType::Brantis:
      return {"AAAA"};
    case LidarType::Fennix:
    case LidarType::Glavor:
    case LidarType::Hestra:
      return {"AAAA", "BBBB", "CCCC", "DDDD"};
    case LidarType::Corvik:
    case LidarType::Juniq:
      return {"AAAA", "BBBB", "CCCC", "DDDD", "EEEE"};
    case LidarType::Kelvane:
      break;
  }
  return {};
}

std::vector<IndexParam> FindFlags(const std::vector<std::uint8_t>& image,
                                  std::int32_t received_size,
                                  const std::vector<std::string>& flags) {
  const auto end = static_cast<std::size_t>(std::max(received_size, 0));
  std::vector<IndexParam> found;
  for (const std::string& flag : flags) {
    const std::size_t at = FindFlag(image, end, flag);
    if (at < end) found.push_back({static_cast<int>(at), flag});
  }
  std::sort(found.begin(), found.end(),
            [](const IndexParam& a, const IndexParam& b) { return a.position < b.position; });
  return found;
}

std::map<std::string, FlagCheckParamBuffer> CutImage(const std::vector<std::uint8_t>& image,
                                                     const std::vector<IndexParam>& markers,
                                                     std::int32_t total_size) {
  const auto size = static_cast<std::ptrdiff_t>(image.size());
  std::map<std::string, FlagCheckParamBuffer> pieces;
  for (std::size_t i = 0; i < markers.size(); ++i) {
    const std::ptrdiff_t start = markers[i].position + static_cast<std::ptrdiff_t>(kFlagBytes);
    const std::ptrdiff_t next = i + 1 < markers.size() ? markers[i + 1].position : total_size;
    const std::ptrdiff_t end = std::clamp(next, start, size);
    pieces[markers[i].name].bytes.assign(image.begin() + start, image.begin() + end);
  }
  return pieces;
}

}  // namespace orliq::lidar
