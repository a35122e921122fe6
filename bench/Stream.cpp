// SPDX-License-Identifier: Apache-2.0
#include "bench/Stream.h"

#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "multi_driver/SensorModels.h"
#include "simulator/scene/Scene.h"
#include "simulator/sending/PcapWriter.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::bench {
namespace {

void Require(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what);
}

struct Scratch {
  Scratch() {
    path = (std::filesystem::temp_directory_path() / "orliq-bench-XXXXXX").string();
    Require(mkdtemp(path.data()) != nullptr, "no temporary folder");
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string path;
};

}  // namespace

const std::string& ScratchFolder() {
  static const Scratch scratch;
  return scratch.path;
}

Stream::Stream(const std::string& model) : type(lidar::FindSensorModel(model)->type) {
  constexpr std::size_t kPackets = 3840;
  const auto scene = sim::MakeScene("boxes");
  const auto sensor = sim::MakeSensor(model, {});
  packets_per_frame = sensor->PacketsPerFrame();
  for (std::uint64_t frame = 0; packets.size() < kPackets; ++frame) {
    for (sim::Packet& packet : sensor->EncodeFrame(*scene, frame)) {
      packets.push_back(std::move(packet.payload));
    }
  }
  if (!sensor->HasCheckFolder()) return;
  check_folder = ScratchFolder() + "/" + model;
  std::string error;
  Require(sensor->WriteCheckFolder(check_folder, error), error);
  Require(params.LoadCheckFolder(type, check_folder), "check folder did not load");
}

void Stream::WriteCapture(const std::string& path, std::size_t bytes) const {
  std::string error;
  const auto writer = sim::PcapWriter::Create(path, {}, error);
  Require(writer != nullptr, error);
  const std::size_t records = bytes / (packets[0].size() + 58) + 1;
  for (std::size_t i = 0; i < records; ++i) {
    Require(writer->Write(packets[i % packets.size()], 1.7e9 + static_cast<double>(i) / 7680),
            "disk full");
  }
  Require(writer->Close(error), error);
}

Stream& SharedStream(const std::string& model) {
  static std::map<std::string, Stream> streams;
  return streams.try_emplace(model, model).first->second;
}

}  // namespace orliq::bench
