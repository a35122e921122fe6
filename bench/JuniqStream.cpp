// SPDX-License-Identifier: Apache-2.0
#include "bench/JuniqStream.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>

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

JuniqStream::JuniqStream(int frames) {
  const auto scene = sim::MakeScene("boxes");
  const auto sensor = sim::MakeSensor("juniq", {});
  for (int i = 0; i < frames; ++i) {
    for (sim::Packet& packet : sensor->EncodeFrame(*scene, static_cast<std::uint64_t>(i))) {
      packets.push_back(std::move(packet.payload));
    }
  }
  const std::string folder = ScratchFolder() + "/check";
  std::string error;
  Require(sensor->WriteCheckFolder(folder, error), error);
  Require(params.LoadCheckFolder(lidar::LidarType::Juniq, folder), "check folder did not load");
}

void JuniqStream::WriteCapture(const std::string& path, std::size_t bytes) const {
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

JuniqStream& SharedStream() {
  static JuniqStream stream(5);
  return stream;
}

}  // namespace orliq::bench
