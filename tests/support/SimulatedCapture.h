// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/scene/Scene.h"
#include "simulator/sending/PcapWriter.h"
#include "simulator/sensors/Sensor.h"
#include "support/TempDir.h"

namespace orliq::test {

/// A capture of a simulated sensor in a folder of its own, with the check folder if it has one.
struct SimulatedCapture {
  explicit SimulatedCapture(int frames, const sim::SensorOptions& options = {},
                            const std::string& model = "juniq")
      : capture((dir / "capture.pcap").string()), check_folder((dir / "check").string()) {
    const auto scene = sim::MakeScene("boxes");
    const auto sensor = sim::MakeSensor(model, options);
    std::string error;
    const auto writer = sim::PcapWriter::Create(capture, {}, error);
    bool ok = writer != nullptr;
    if (sensor->HasCheckFolder()) ok = ok && sensor->WriteCheckFolder(check_folder, error);
    for (int i = 0; ok && i < frames; ++i) {
      for (const sim::Packet& packet : sensor->EncodeFrame(*scene, static_cast<std::uint64_t>(i))) {
        ok = ok && writer->Write(packet.payload, packet.time_s);
        packets.push_back(packet.payload);
      }
    }
    if (!ok || !writer->Close(error)) throw std::runtime_error("no capture: " + error);
  }

  TempDir dir;
  std::string capture;
  std::string check_folder;
  std::vector<std::vector<std::uint8_t>> packets;  ///< of the capture, in order
};

}  // namespace orliq::test
