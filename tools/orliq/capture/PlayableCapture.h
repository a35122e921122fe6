// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace orliq::cli {

/// A capture that the driver can read: a capture file as it is, or the packets in a file of messages
/// (MCAP) as a capture of their own. That one has no name, stands where TMPDIR says, takes as much room as
/// the packets have bytes, and is gone with this.
///
/// Threads: belongs to one. Failure: throws Failure when an MCAP file cannot be read or has no packets,
/// when there is no room for them, and on an interrupt.
class PlayableCapture {
 public:
  /// Of an MCAP file an empty `topic` takes the packets of all its topics.
  explicit PlayableCapture(const std::string& path, const std::string& topic = "");
  ~PlayableCapture();
  PlayableCapture(const PlayableCapture&) = delete;
  PlayableCapture& operator=(const PlayableCapture&) = delete;

  /// For the driver and all that reads captures.
  const std::string& Path() const { return path_; }

  /// Throws Failure when not all of an MCAP file could be read: cut, or damaged,
  /// or with packets that make no sense.
  void RequireWhole() const;

 private:
  void Convert(const std::string& topic);

  const std::string file_;  // as the user named it
  std::string path_;
  int descriptor_ = -1;  // of the capture made of it
  std::string fault_;
  std::uint64_t odd_ = 0;  // messages that should be packets and make none
};

}  // namespace orliq::cli
