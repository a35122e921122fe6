// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "orliq/mcap/McapWriter.h"
#include "orliq/ros/RosTypes.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/GrowingFile.h"

namespace orliq::cli {

/// A file of messages. What was published is in it after a second or two, as long as messages or calls of
/// Tend come, and on the disk likewise, so that little is lost with the power.
///
/// Threads: belongs to one, which waits for the disk. Failure: throws Failure where the disk takes no more.
/// A message whose Publish throws is given up. Those before wait for a disk that takes them, which is
/// tried again after a second: until then the same is thrown at once.
class McapFile {
 public:
  struct Options {
    GrowingFile::Name name = GrowingFile::Name::kWhenWhole;
    bool replace = false;
    bool compress = false;  ///< only with HasZstd
  };
  McapFile(const std::filesystem::path& path, const Options& options);

  /// Its number for Publish. All topics are added before the first message.
  std::size_t AddTopic(const std::string& name, const RosType& type);

  void Publish(std::size_t topic, const RosTime& stamp, std::string_view cdr);
  void Publish(std::size_t topic, const RosTime& stamp, const McapAppend& append);

  /// To be called now and then when nothing is published.
  void Tend();

  /// Completes the file: nothing is to be published any more.
  void Finish();

  std::uint64_t Messages(std::size_t topic) const;  ///< in the file
  std::uint64_t Pending(std::size_t topic) const;   ///< on their way there
  std::uint64_t Bytes() const;

 private:
  using Clock = std::chrono::steady_clock;

  void FlushIfDue();
  void Flush(Clock::time_point now);

  GrowingFile file_;
  McapWriter writer_;
  Clock::time_point chunk_time_;  // when its present chunk began
  Clock::time_point sync_time_;   // when the disk last had all
  std::optional<Failure> fault_;  // the last time that the disk took no chunk
  Clock::time_point fault_time_;
};

}  // namespace orliq::cli
