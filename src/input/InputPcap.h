// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "input/CaptureFile.h"
#include "input/Input.h"
#include "input/RecordFilter.h"
#include "multi_driver/DriverParam.h"

namespace orliq::lidar {

/// Reads the sensor's UDP datagrams from a capture file, as fast as they are asked for.
///
/// Records are expected as Ethernet, IPv4 without options, UDP; the 42 header bytes are skipped by
/// their fixed size. What the file claims is never trusted: a record shorter than its headers
/// counts as not matching, one that was cut or is larger than the buffer yields the bytes that
/// exist and fit, and its wrong length then shows in the decoder.
class InputPcap final : public Input {
 public:
  /// Port 0 of `param` accepts any UDP destination port.
  explicit InputPcap(const InputParam& param);

  /// Opens the capture file and prints its path; false when it cannot be opened.
  bool Init() override;

  /// Delivers the next datagram. With `remember`, `*position` receives the file position of the
  /// record that is read; without, reading moves to `*position` first; null does neither. 0 for a
  /// record of another kind, port or sender, -1 at the end of the file until a move back.
  int RecvPacket(std::shared_ptr<Buffer>& buffer, const int& size, long* position,
                 const bool& remember) override;

  void CountInto(RecordCounters& counters) override { counters_ = &counters; }

  const std::string& FilterExpression() const { return filter_expression_; }

 private:
  Counter& CountOfRecord() const;
  int Deliver(Buffer& buffer) const;
  std::uint64_t PresentBytes() const;

  InputParam param_;
  CaptureFile file_;
  std::uint64_t header_length_ = 14 + 20 + 8;  // [bytes] Ethernet, IPv4, UDP
  std::uint64_t header_extra_ = 0;             // [bytes] further subtracted from the length
  std::string filter_expression_;
  RecordFilter filter_;      // by that expression
  RecordFilter udp_filter_;  // of any port
  RecordCounters nobodys_;
  RecordCounters* counters_ = &nobodys_;  // those that count
};

}  // namespace orliq::lidar
