// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pcap/pcap.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "input/PcapngSections.h"

namespace orliq::lidar {

/// A capture file, read record by record, with the file position of each record.
///
/// Not thread-safe. A record's bytes stay valid until the next call.
class CaptureFile {
 public:
  CaptureFile() = default;
  ~CaptureFile() { Close(); }
  CaptureFile(const CaptureFile&) = delete;
  CaptureFile& operator=(const CaptureFile&) = delete;

  /// Opens a regular file in a capture format; false for anything else, pipes and devices included,
  /// since playback moves about in the file.
  bool Open(const std::string& path);
  void Close();

  /// Reads the next record; false at the end of the file or on a damaged record.
  bool Next();
  /// Whether that was a damaged record, and not the end or a repeated call.
  bool Damaged() const { return damaged_; }
  const pcap_pkthdr& Record() const { return *record_; }
  const std::uint8_t* Bytes() const { return bytes_; }

  /// Offset of the record that Next will read.
  long Position();

  /// Moves to a record that has been read, by the offset that Position gave for it. Clears an
  /// earlier end of file.
  void Seek(long position);

  pcap_t* Handle() const { return handle_; }

 private:
  static constexpr long kUnknown = -1;

  void RestoreInterfaces(long position);

  std::vector<char> stream_buffer_;  // of the file that handle_ owns, so it outlives that
  pcap_t* handle_ = nullptr;
  pcap_pkthdr* record_ = nullptr;
  const std::uint8_t* bytes_ = nullptr;
  bool damaged_ = false;           // the last Next found a record that cannot be read
  bool ended_ = true;              // nothing more to read until a Seek
  long position_ = kUnknown;       // of the next record; kUnknown: ask the stream
  long record_header_ = 0;         // [bytes] before each record's data; 0: not a fixed size
  std::uint32_t whole_below_ = 0;  // captured lengths below it tell the record's size in the file

  std::optional<PcapngSections> sections_;  // none for the classic format
  bool all_interfaces_ = true;              // the capture library has read all that are known of
};

}  // namespace orliq::lidar
