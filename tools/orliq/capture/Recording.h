// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orliq/network/DatagramQueue.h"
#include "simulator/sending/PcapWriter.h"

namespace orliq::cli {

/// When a recording is long enough.
struct RecordingLimits {
  std::optional<std::uint64_t> packets;
  std::optional<std::uint64_t> bytes;  ///< of the capture file
};

/// Throws Failure when `path` is a file that holds something other than a capture: to replace it
/// could only be a slip.
void RequireNoOtherFile(const std::string& path);

/// Who sent how many of the datagrams.
struct SenderCount {
  std::array<std::uint8_t, 4> address;
  std::uint16_t port;
  std::uint64_t packets;
};

/// A capture file that grows by batches of datagrams and gets its name when it is finished. Without
/// Finish, or without a datagram, no file is left behind.
class Recording {
 public:
  static constexpr std::size_t kMaxSenders = 16;

  /// Throws Failure when the file cannot be made.
  Recording(std::string path, const RecordingLimits& limits);

  /// Writes the datagrams up to the limits; false once one of these is reached. On a full disk the
  /// file is finished with what it holds, and Failure thrown.
  bool Add(const DatagramBatch& batch);

  /// Gives the file its name, if anything is in it. Throws Failure when that fails.
  void Finish();

  std::uint64_t Packets() const { return packets_; }
  std::uint64_t Bytes() const { return writer_->Bytes(); }

  /// [s] from the first datagram to the last.
  double Span() const { return last_time_s_ - first_time_s_; }

  /// In the order of their first datagram, at most kMaxSenders: the last one then stands for all
  /// that came after it.
  const std::vector<SenderCount>& Senders() const { return senders_; }

  /// How far the nearest limit is, 0 to 1; nothing without a limit.
  std::optional<double> Share() const;

 private:
  bool Full(std::size_t payload_bytes) const;
  void Write(const DatagramBatch& batch, const DatagramBatch::Entry& entry);
  void CountSender(const sim::UdpEndpoints& endpoints);
  [[noreturn]] void KeepWhatWasWritten();

  std::string path_;
  RecordingLimits limits_;
  std::unique_ptr<sim::PcapWriter> writer_;
  std::vector<std::uint8_t> payload_;
  std::uint64_t packets_ = 0;
  std::uint64_t safe_packets_ = 0;  // that the disk has taken
  std::vector<SenderCount> senders_;
  double first_time_s_ = 0.0;
  double last_time_s_ = 0.0;
};

}  // namespace orliq::cli
