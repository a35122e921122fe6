// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "orliq/clouds/CloudSink.h"
#include "orliq/mcap/McapFile.h"
#include "orliq/ros/RosMessages.h"

namespace orliq::cli {

/// What clouds do not tell themselves.
struct CloudScene {
  std::string frame;             ///< of the clouds
  std::string sensor;            ///< frame of the samples; empty: none come
  std::vector<Origin> origins;   ///< of all sensors
  std::size_t rows = 0;          ///< of the only sensor, if its frames have a fixed size
  std::size_t columns = 0;       ///< likewise
  std::optional<double> begins;  ///< [s] UTC, of a capture; nothing: live
};

/// Where a sensor's packets go.
struct PacketTopic {
  std::size_t topic = 0;                      ///< of the file
  std::array<std::uint8_t, 4> destination{};  ///< of those that come live, as the next
  std::uint16_t port = 0;
};

/// One file of messages of ROS 2: clouds at "/points", samples at "/imu", packets at topics of theirs.
///
/// Their times are those of the sensor. A cloud without time gets that of this machine when it is live,
/// else 0.1 s after the cloud before, and the first one that of the capture's first record.
class McapSink : public CloudSink {
 public:
  McapSink(const std::filesystem::path& path, const McapFile::Options& options, CloudScene scene);

  bool TakesOneCloud() const override { return false; }
  std::filesystem::path Write(const CloudView& cloud, int frame, int part) override;
  void Write(const lidar::ImuMsg& sample) override;
  void Write(const KeptPacket& packet) override;
  bool TakesPackets() const override { return !packets_.empty(); }
  void Tend() override { file_.Tend(); }
  void Finish() override { file_.Finish(); }

  std::uint64_t PendingClouds() const override { return file_.Pending(points_); }
  std::uint64_t PendingSamples() const override { return imu_ ? file_.Pending(*imu_) : 0; }
  std::uint64_t PendingPackets() const override;
  std::uint64_t Files() const override { return 1; }
  std::uint64_t Bytes() const override { return file_.Bytes(); }
  std::string Contents() const override;

  /// For the packets of captures, before anything else is written.
  McapFile& File() { return file_; }

  /// In sensor order.
  void SetPacketTopics(std::vector<PacketTopic> topics) { packets_ = std::move(topics); }

 private:
  RosTime StampOf(double timestamp);

  const std::filesystem::path path_;
  const CloudScene scene_;
  McapFile file_;
  const std::size_t points_;
  const std::optional<std::size_t> imu_;
  std::vector<PacketTopic> packets_;
  double last_time_ = 0.0;  // [s] UTC, of the cloud before
};

}  // namespace orliq::cli
