// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudOutput.h"

#include <arpa/inet.h>

#include <cmath>
#include <filesystem>
#include <system_error>
#include <variant>

#include "orliq/capture/CaptureFile.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/mcap/PacketMessage.h"
#include "orliq/mcap/Zstd.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {
namespace {

bool IsMcap(const std::filesystem::path& path) {
  std::error_code ignored;
  std::string ending = path.extension().string();
  for (char& letter : ending) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return ending == ".mcap" && !std::filesystem::is_directory(path, ignored);
}

void ExamineMcap(const OutputOptions& options) {
  if (!options.format.empty()) {
    throw Failure(ExitCode::kUsage, "--format " + options.format + " contradicts the ending of " +
                                        options.out + ": leave one of them away");
  }
  RequireRosMessages();
  std::error_code ignored;
  if (options.force || !std::filesystem::exists(options.out, ignored)) return;
  throw Failure(ExitCode::kFileFault, options.out + " exists: --force replaces it");
}

void RefuseMcapOptions(const OutputOptions& options) {
  const char* const option = options.with_packets     ? "--with-packets"
                             : options.no_compression ? "--no-compression"
                                                      : nullptr;
  if (option == nullptr) return;
  throw Failure(ExitCode::kUsage,
                std::string(option) + " is for one file of messages: name it with --out FILE.mcap");
}

PacketMessage MessageOf(const Datagram& datagram, double time) {
  PacketMessage message;
  message.stamp = ToRosTime(time);
  message.source = Octets(datagram.source);
  message.source_port = datagram.source_port;
  message.destination = Octets(datagram.destination);
  message.port = datagram.port;
  message.data = {reinterpret_cast<const char*>(datagram.payload), datagram.payload_bytes};
  return message;
}

void CopyPackets(const PacketSource& source, McapFile& file, std::size_t topic) {
  CaptureFile capture(source.capture);
  while (!InterruptRequested() && capture.Next()) {
    const auto content = capture.Content(source.wanted);
    const auto* const datagram = std::get_if<Datagram>(&content);
    if (datagram == nullptr) continue;
    const PacketMessage message = MessageOf(*datagram, capture.Time());
    file.Publish(topic, message.stamp, [&](std::string& to) { AppendPacket(message, to); });
  }
}

/// Puts the datagrams into the file.
void KeepPackets(const std::vector<PacketSource>& sources, McapSink& sink) {
  std::vector<PacketTopic> topics;
  topics.reserve(sources.size());
  for (const PacketSource& source : sources) {
    topics.push_back({sink.File().AddTopic(source.topic, kRosPacket)});
  }
  for (std::size_t i = 0; i < sources.size(); ++i) {
    CopyPackets(sources[i], sink.File(), topics[i].topic);
  }
  sink.SetPacketTopics(std::move(topics));
}

/// Prepares the file for packets that come later.
void ExpectPackets(const std::vector<LivePackets>& sources, McapSink& sink) {
  std::vector<PacketTopic> topics;
  topics.reserve(sources.size());
  for (const LivePackets& source : sources) {
    in_addr address = {};
    ::inet_pton(AF_INET, source.address.c_str(), &address);
    topics.push_back({sink.File().AddTopic(source.topic, kRosPacket), Octets(ntohl(address.s_addr)),
                      source.port});
  }
  sink.SetPacketTopics(std::move(topics));
}

std::unique_ptr<McapSink> OpenMcap(const OutputOptions& options, const CloudScene& scene) {
  MakeFolder(std::filesystem::path(options.out).parent_path());
  // What a live sensor sends cannot be had again; a capture can be played again.
  const bool live = !scene.begins;
  return std::make_unique<McapSink>(
      options.out,
      McapFile::Options{live ? GrowingFile::Name::kAtOnce : GrowingFile::Name::kWhenWhole,
                        options.force, !options.no_compression && HasZstd()},
      scene);
}

/// `Packets` has two forms: those of a capture, which `keep` puts into the file, and those to come.
template <typename Packets>
std::unique_ptr<CloudSink> Open(const OutputOptions& options, const CloudScene& scene,
                                const std::vector<Packets>& packets,
                                void (*keep)(const std::vector<Packets>&, McapSink&)) {
  ExamineOutput(options);
  if (options.out.empty()) return nullptr;
  if (!IsMcap(options.out)) {
    return std::make_unique<CloudWriter>(options.out, options.format, options.force);
  }
  auto sink = OpenMcap(options, scene);
  if (options.with_packets) keep(packets, *sink);
  return sink;
}

}  // namespace

void ExamineOutput(const OutputOptions& options) {
  if (IsMcap(options.out)) return ExamineMcap(options);
  RefuseMcapOptions(options);
  if (!options.out.empty()) ExamineTarget(options.out, options.format, options.force);
}

bool TakesOneCloud(const OutputOptions& options) {
  ExamineOutput(options);
  if (options.out.empty() || IsMcap(options.out)) return false;
  return ExamineTarget(options.out, options.format, options.force).single_file;
}

CloudScene SceneOf(const Model& model, const lidar::DriverParam& param) {
  CloudScene scene;
  const bool moved = param.decoder_param.transform_param.enable != 0 && model.transforms_points;
  scene.frame = moved ? kRobotFrame : model.name;
  if (model.has_imu) scene.sensor = model.name;
  scene.origins = {OriginOf(param)};
  const auto [rows, columns] = GridOf(model);
  scene.rows = rows;
  scene.columns = columns;
  return scene;
}

CloudScene FusedScene(const std::vector<lidar::DriverParam>& params) {
  CloudScene scene;
  scene.frame = kRobotFrame;
  for (const lidar::DriverParam& param : params) scene.origins.push_back(OriginOf(param));
  return scene;
}

std::string PacketTopicName(const std::string& sensor) {
  return (sensor.empty() ? "" : "/" + sensor) + "/packets";
}

std::unique_ptr<CloudSink> OpenOutput(const OutputOptions& options, const CloudScene& scene,
                                      const std::vector<PacketSource>& packets) {
  return Open(options, scene, packets, KeepPackets);
}

std::unique_ptr<CloudSink> OpenLiveOutput(const OutputOptions& options, const CloudScene& scene,
                                          const std::vector<LivePackets>& packets) {
  return Open(options, scene, packets, ExpectPackets);
}

}  // namespace orliq::cli
