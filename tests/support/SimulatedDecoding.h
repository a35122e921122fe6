// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "decoder/DecoderFactory.h"
#include "multi_driver/SensorModels.h"
#include "param/CheckParam.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::test {

/// The decoder of a simulated sensor's model, calibrated as the sensor is. Every point goes into one
/// cloud, whatever ends a frame.
template <typename P>
struct SimulatedDecoding {
  SimulatedDecoding(const std::string& model, const sim::Sensor& sensor)
      : decoder(lidar::DecoderFactory<PointCloud<P>>::CreateDecoder(
            lidar::FindSensorModel(model)->type, {})) {
    decoder->RegisterCallBack([](const lidar::Error&) {},
                              [](const std::uint16_t&, const double&) {});
    decoder->RegisterIMUCallBack([this] { samples.push_back(*decoder->CurrentImuMsg()); });
    decoder->InstallCloud(cloud);
    decoder->InstallImuMsg(std::make_shared<lidar::ImuMsg>());
    const auto check = std::make_unique<lidar::OffsetCheckParam>();
    const auto fill = [](void* table, const std::vector<float>& values) {
      std::memcpy(table, values.data(), values.size() * sizeof(float));
    };
    for (const sim::CheckTable& table : sensor.Tables()) {
      if (table.word == "azimuth") fill(&check->azimuth, table.values);
      if (table.word == "elevation") fill(&check->elevation, table.values);
      if (table.word == "offset") fill(&check->offset, table.values);
      if (table.word == "weight") fill(&check->weight, table.values);
      if (table.word == "near_filter") fill(&check->near_filter, table.values);
    }
    decoder->UpdateCheckParam(check.get());
  }

  void Decode(const std::vector<sim::Packet>& packets) {
    for (const sim::Packet& packet : packets) {
      decoder->ProcessMsopPacket(packet.payload.data(), packet.payload.size(), 0);
    }
  }

  std::shared_ptr<PointCloud<P>> cloud = std::make_shared<PointCloud<P>>();
  std::shared_ptr<lidar::Decoder<PointCloud<P>>> decoder;
  std::vector<lidar::ImuMsg> samples;
};

}  // namespace orliq::test
