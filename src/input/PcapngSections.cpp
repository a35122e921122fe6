// SPDX-License-Identifier: Apache-2.0
#include "input/PcapngSections.h"

#include <byteswap.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace orliq::lidar {
namespace {

constexpr std::uint32_t kSectionHeader = 0x0A0D0D0A;  // the same in either byte order
constexpr std::uint32_t kByteOrder = 0x1A2B3C4D;      // third word of a section header
constexpr std::uint32_t kInterface = 1;
constexpr std::uint32_t kEmptyBlock = 12;  // [bytes] type, and the length at either end
constexpr std::size_t kWindow = std::size_t{64} * 1024;  // [bytes]

bool IsPacket(std::uint32_t type) {
  return type == 6 || type == 3 || type == 2;  // enhanced, simple, of the format's first version
}

}  // namespace

std::optional<PcapngSections> PcapngSections::Of(int descriptor) {
  std::array<std::uint32_t, 3> words = {};
  const bool read = ::pread(descriptor, words.data(), sizeof words, 0) == sizeof words;
  if (!read || words[0] != kSectionHeader) return std::nullopt;
  return PcapngSections(descriptor, words[2] != kByteOrder);
}

PcapngSections::PcapngSections(int descriptor, bool swapped)
    : descriptor_(descriptor), swapped_(swapped) {}

/// False at the end of the file and where no block can begin.
bool PcapngSections::ReadBlock(long position, Block& block) {
  std::array<std::uint32_t, 2> words = {};
  const auto window_end = window_begin_ + static_cast<long>(window_.size());
  if (position < window_begin_ || position + static_cast<long>(sizeof words) > window_end) {
    window_.resize(kWindow);
    const ssize_t size = ::pread(descriptor_, window_.data(), kWindow, position);
    window_.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    window_begin_ = position;
    if (window_.size() < sizeof words) return false;
  }
  std::memcpy(words.data(), window_.data() + (position - window_begin_), sizeof words);
  const Block read =
      swapped_ ? Block{bswap_32(words[0]), bswap_32(words[1])} : Block{words[0], words[1]};
  if (read.length < kEmptyBlock || read.length % 4 != 0) return false;
  block = read;
  return true;
}

long PcapngSections::FindPacket(long position) {
  long packet = position;
  Block block = {};
  bool section = false;
  bool described = false;
  while (ReadBlock(packet, block) && !IsPacket(block.type)) {
    section |= block.type == kSectionHeader;
    described |= section || block.type == kInterface;
    packet += static_cast<long>(block.length);
    block = {};
  }
  if (position != frontier_) return packet;
  frontier_ = packet + static_cast<long>(block.length);
  if (!described) return packet;
  sections_.push_back(section || sections_.empty() ? begins_.size() : sections_.back());
  begins_.push_back(position);
  packets_.push_back(packet);
  return packet;
}

void PcapngSections::CoverUpTo(long position) {
  for (long before = -1; frontier_ < position && before < frontier_;) {
    before = frontier_;
    FindPacket(before);
  }
}

PcapngSections::Descriptions PcapngSections::Before(long position) const {
  const auto behind = std::upper_bound(packets_.begin(), packets_.end(), position);
  const auto count = static_cast<std::size_t>(behind - packets_.begin());
  const std::size_t first = count == 0 ? 0 : sections_[count - 1];
  return {begins_.data() + first, begins_.data() + count, count == begins_.size()};
}

}  // namespace orliq::lidar
