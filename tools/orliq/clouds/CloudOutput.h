// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orliq/capture/UdpRecord.h"
#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/McapSink.h"

// What --out means: files of clouds, or one file of messages.
namespace orliq::cli {

/// Refuses by Failure what is cheap to refuse, before anything is read. Changes nothing.
void ExamineOutput(const OutputOptions& options);

/// Whether the files take one cloud only. Throws Failure as ExamineOutput does.
bool TakesOneCloud(const OutputOptions& options);

/// Of one sensor with these settings.
CloudScene SceneOf(const Model& model, const lidar::DriverParam& param);

/// Of several, whose clouds are fused.
CloudScene FusedScene(const std::vector<lidar::DriverParam>& params);

/// "/front/packets", or "/packets" of a sensor without a name.
std::string PacketTopicName(const std::string& sensor);

/// Datagrams that go into the file beside the clouds.
struct PacketSource {
  std::string topic;
  std::string capture;
  Wanted wanted;
};

/// Null when no files are wanted. With --with-packets the datagrams of `packets` are written at once,
/// until an interrupt. Throws Failure for what cannot be written to.
std::unique_ptr<CloudSink> OpenOutput(const OutputOptions& options, const CloudScene& scene,
                                      const std::vector<PacketSource>& packets);

/// A live sensor's packets, which go there as they come.
struct LivePackets {
  std::string topic;
  std::string address;  ///< where they are received; empty: any of this machine
  std::uint16_t port = 0;
};

/// The same for live sensors, in their order.
std::unique_ptr<CloudSink> OpenLiveOutput(const OutputOptions& options, const CloudScene& scene,
                                          const std::vector<LivePackets>& packets);

}  // namespace orliq::cli
