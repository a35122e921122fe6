// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/McapSink.h"

#include <numeric>
#include <utility>

#include "orliq/mcap/PacketMessage.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr double kUsualStep = 0.1;  // [s] from one frame to the next, of sensors that tell no time

std::optional<std::size_t> AddSamples(McapFile& file, const CloudScene& scene) {
  if (scene.sensor.empty()) return std::nullopt;
  return file.AddTopic("/imu", kRosImu);
}

}  // namespace

McapSink::McapSink(const std::filesystem::path& path, const McapFile::Options& options,
                   CloudScene scene)
    : path_(path),
      scene_(std::move(scene)),
      file_(path, options),
      points_(file_.AddTopic("/points", kRosPointCloud2)),
      imu_(AddSamples(file_, scene_)) {}

std::filesystem::path McapSink::Write(const CloudView& cloud, int, int) {
  const RosTime stamp = StampOf(TimeOf(cloud));
  const RosCloud message = {
      {stamp, scene_.frame}, cloud, scene_.origins, scene_.rows, scene_.columns};
  file_.Publish(points_, stamp, [&](std::string& to) { AppendPointCloud2(message, to); });
  return path_;
}

void McapSink::Write(const lidar::ImuMsg& sample) {
  if (!imu_) return;
  const RosTime stamp = ToRosTime(sample.timestamp);
  file_.Publish(*imu_, stamp, ImuCdr({stamp, scene_.sensor}, sample));
}

void McapSink::Write(const KeptPacket& packet) {
  const PacketTopic& to = packets_.at(packet.sensor);
  PacketMessage message;
  message.stamp = ToRosTime(packet.time_s);
  message.source = packet.endpoints.source;
  message.source_port = packet.endpoints.source_port;
  message.destination = to.destination;
  message.port = to.port;
  message.data = packet.payload;
  file_.Publish(to.topic, message.stamp, [&](std::string& file) { AppendPacket(message, file); });
}

std::uint64_t McapSink::PendingPackets() const {
  std::uint64_t pending = 0;
  for (const PacketTopic& of : packets_) pending += file_.Pending(of.topic);
  return pending;
}

RosTime McapSink::StampOf(double timestamp) {
  if (timestamp == 0.0 && !scene_.begins) return RosTimeNow();
  if (timestamp != 0.0) {
    last_time_ = timestamp;
  } else {
    last_time_ = last_time_ == 0.0 ? *scene_.begins : last_time_ + kUsualStep;
  }
  return ToRosTime(last_time_);
}

std::string McapSink::Contents() const {
  std::string text = Count(file_.Messages(points_), "cloud");
  if (imu_) text += ", " + Count(file_.Messages(*imu_), "sample");
  std::uint64_t packets = 0;
  for (const PacketTopic& of : packets_) packets += file_.Messages(of.topic);
  if (!packets_.empty()) text += ", " + Count(packets, "packet");
  return text;
}

}  // namespace orliq::cli
