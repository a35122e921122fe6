// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include "fuzz/Datagrams.h"
#include "orliq/capture/FlowList.h"

namespace orliq::fuzz {

/// Ethernet, IPv4 and UDP headers of a datagram to port 2368, and the model's blank packet.
inline std::vector<std::uint8_t> BlankFrame(const cli::Model& model) {
  std::vector<std::uint8_t> frame(cli::kHeaderBytes + model.packet_bytes);
  frame[12] = 0x08;  // IPv4
  frame[14] = 0x45;  // without options
  frame[23] = 17;    // UDP
  frame[36] = 2368 >> 8;
  frame[37] = 2368 & 0xFF;
  std::copy_n(model.identifier.begin(), model.identifier_bytes, frame.begin() + cli::kHeaderBytes);
  return frame;
}

/// The payload is among the bytes of the record, and whole where nothing stands in the driver's way.
inline void RequireInside(const cli::UdpRecord& record, const Datagrams& bytes) {
  if (!record.datagram) return;
  const cli::Datagram& datagram = *record.datagram;
  const auto* const end = datagram.payload + datagram.present_bytes;
  Require(datagram.payload >= bytes.data() && end <= bytes.data() + bytes.size());
  Require(datagram.present_bytes <= datagram.payload_bytes);
  Require(record.skip || datagram.present_bytes == datagram.payload_bytes);
}

/// What was read of a row of records.
class FlowCounts {
 public:
  void Take(const cli::UdpRecord& record) {
    ++skipped_[record.skip ? static_cast<std::size_t>(*record.skip) : cli::kSkips];
    if (!record.skip || cli::NameOf(*record.skip).loss) ++for_frames_;
    if (record.datagram) ++datagrams_;
    Require(record.skip || record.datagram);
  }

  void RequireIn(const std::vector<cli::Flow>& flows, std::uint64_t further,
                 std::size_t sizes) const {
    std::uint64_t packets = further;
    for (const cli::Flow& flow : flows) {
      packets += flow.packets;
      Require(!flow.sizes.empty() && flow.sizes.size() <= sizes && flow.first_bytes.size() <= 8);
      for (const std::uint64_t fits : flow.fits) Require(fits <= flow.packets);
      flow.hints.Find();
    }
    Require(packets == datagrams_);
  }

  void RequireIn(const std::vector<cli::FrameRecords>& frames, const cli::Model& model) const {
    cli::FrameSums sums;
    sums.Add(frames, model);
    Require(sums.whole + sums.torn <= frames.size());
    std::uint64_t records = 0;
    for (const cli::FrameRecords& frame : frames) {
      records += frame.packets + frame.length + frame.identifier;
      for (const auto& [reason, lost] : frame.unreadable) records += lost;
    }
    Require(records == for_frames_);
  }

  void RequireIn(const std::array<std::uint64_t, cli::kSkips>& skipped) const {
    Require(std::equal(skipped.begin(), skipped.end(), skipped_.begin()));
  }

 private:
  std::array<std::uint64_t, cli::kSkips + 1> skipped_{};  // last those that were not
  std::uint64_t datagrams_ = 0;
  std::uint64_t for_frames_ = 0;  // that a count of frames takes
};

}  // namespace orliq::fuzz
