// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "simulator/sending/UdpFramer.h"

namespace orliq::sim {

/// Writes UDP payloads as a classic capture file: Ethernet, IPv4, UDP, times in microseconds.
///
/// The records go to a file of their own beside the target, with ".part" behind its name; the target
/// appears, or is replaced, only when Close succeeds. A writer that is destroyed without it leaves
/// nothing behind; what a killed process leaves is a capture that ends early.
class PcapWriter {
 public:
  /// Null, and a line in `error`, when the folder cannot be written to, an address of the flow does
  /// not parse, `path` is something other than a plain file, or another writer has it now.
  static std::unique_ptr<PcapWriter> Create(const std::filesystem::path& path, const UdpFlow& flow,
                                            std::string& error);
  ~PcapWriter();
  PcapWriter(const PcapWriter&) = delete;
  PcapWriter& operator=(const PcapWriter&) = delete;

  /// Appends one datagram that was seen at `time_s` (seconds since 1970-01-01 UTC). False, with
  /// errno, when the disk is full, the payload too long for a datagram or the time outside 1970 to
  /// 2038; then nothing was added, but what a full disk has lost makes all that follows fail, Flush
  /// and Close too.
  [[nodiscard]] bool Write(const std::vector<std::uint8_t>& payload, double time_s);

  /// The same for a datagram of another flow than the writer's.
  [[nodiscard]] bool Write(const std::vector<std::uint8_t>& payload, double time_s,
                           const UdpEndpoints& endpoints);

  /// Brings to the system what has been written so far. False, with errno, when the disk is full.
  [[nodiscard]] bool Flush();

  /// Completes the file and gives it its name. False, and a line in `error`, when that fails or the
  /// writer is closed already.
  [[nodiscard]] bool Close(std::string& error);

  /// Completes the file with what the last good Flush held, for when the disk is full. Fails as
  /// Close does.
  [[nodiscard]] bool CloseAtLastFlush(std::string& error);

  /// Size of the capture with all that has been written.
  std::uint64_t Bytes() const;

 private:
  struct Impl;
  explicit PcapWriter(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace orliq::sim
