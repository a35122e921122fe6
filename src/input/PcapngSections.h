// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orliq::lidar {

/// Where a capture in the pcapng format describes its packets. Such a file is a chain of blocks: a
/// section header and descriptions of network interfaces may stand between any two packets, and a
/// packet can be read by one who has read the descriptions of its section before it, once each.
///
/// Reads by position, so a stream on the same file stays where it is. Not thread-safe.
class PcapngSections {
 public:
  /// Of the open file; none when it is in another format.
  static std::optional<PcapngSections> Of(int descriptor);

  /// Where the first packet from a block's begin on stands, or the blocks end. Notes descriptions on
  /// the way that are new.
  long FindPacket(long position);
  /// Notes all descriptions before the position.
  void CoverUpTo(long position);

  struct Descriptions {
    const long* begin;  // where to start reading to come by each of them, in the file's order
    const long* end;
    bool all;  // none is known behind the position
  };
  /// What a reader of the packet at `position` must have read.
  Descriptions Before(long position) const;

 private:
  struct Block {
    std::uint32_t type;
    std::uint32_t length;  // [bytes]
  };
  PcapngSections(int descriptor, bool swapped);
  bool ReadBlock(long position, Block& block);

  int descriptor_;
  bool swapped_;
  std::vector<std::uint8_t> window_;  // of the file: a system call for each block would be dear
  long window_begin_ = 0;
  long frontier_ = 0;  // descriptions before it are noted
  // One entry for each group of descriptions between two packets, in the file's order.
  std::vector<long> begins_;
  std::vector<long> packets_;          // the first packet behind the group
  std::vector<std::size_t> sections_;  // the first group of the group's section
};

}  // namespace orliq::lidar
