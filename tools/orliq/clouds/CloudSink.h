// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "multi_driver/Messages.h"
#include "orliq/clouds/CloudView.h"
#include "orliq/clouds/KeptPacket.h"

namespace orliq::cli {

/// Where clouds are written to, with samples and packets if there is a place for them.
///
/// Threads: belongs to one. Failure: throws Failure when something cannot be written.
class CloudSink {
 public:
  CloudSink() = default;
  virtual ~CloudSink() = default;
  CloudSink(const CloudSink&) = delete;
  CloudSink& operator=(const CloudSink&) = delete;

  /// Whether it takes one cloud only.
  virtual bool TakesOneCloud() const = 0;

  /// Writes the cloud of `frame`; `part` counts the clouds of a frame whose mark was lost, from 0.
  /// Returns the file's path.
  virtual std::filesystem::path Write(const CloudView& cloud, int frame, int part) = 0;
  virtual void Write(const lidar::ImuMsg&) {}
  virtual void Write(const KeptPacket&) {}

  /// Whether packets are wanted.
  virtual bool TakesPackets() const { return false; }

  /// To be called now and then when nothing is written.
  virtual void Tend() {}

  /// Completes the files: nothing is to be written any more.
  virtual void Finish() {}

  /// What was taken and is in no file yet: lost, when Finish fails.
  virtual std::uint64_t PendingClouds() const { return 0; }
  virtual std::uint64_t PendingSamples() const { return 0; }
  virtual std::uint64_t PendingPackets() const { return 0; }

  virtual std::uint64_t Files() const = 0;
  virtual std::uint64_t Bytes() const = 0;

  /// What was written: "12 pcd files".
  virtual std::string Contents() const = 0;
};

}  // namespace orliq::cli
