// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/Models.h"

#include <algorithm>
#include <array>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

namespace {

const char* YesNo(bool yes) {
  return yes ? "yes" : "no";
}

const char* PointsText(const Model& model) {
  if (model.decodes_points) return "decoded";
  return model.delivers_frames ? "at the origin" : "none";
}

const char* GatedText(const Model& model) {
  if (!model.decodes_points) return "-";
  return model.keeps_gated_points ? "goes to the origin" : "is left out";
}

std::string Column(const std::string& text, std::size_t width) {
  return text + std::string(width - std::min(width, text.size()), ' ');
}

/// One word for each column.
std::string ModelLine(const std::array<std::string, 7>& words) {
  constexpr std::array<std::size_t, 7> kWidths = {9, 15, 5, 6, 8, 11, 0};
  std::string line = "  ";
  for (std::size_t i = 0; i < words.size(); ++i) line += Column(words[i], kWidths[i]);
  return line + '\n';
}

}  // namespace

std::string ModelNames() {
  std::string names;
  for (const Model& model : lidar::SensorModels()) {
    names += (names.empty() ? "" : ", ") + std::string(model.name);
  }
  return names;
}

const Model& KnownModel(const std::string& name) {
  const Model* const model = lidar::FindSensorModel(name);
  if (model != nullptr) return *model;
  throw Failure(ExitCode::kUsage, "--model " + name + " is unknown: use one of " + ModelNames());
}

std::string ModelTable() {
  std::string text = "Models:\n" + ModelLine({"model", "points", "IMU", "time", "tables",
                                              "transform", "outside the limits"});
  for (const Model& model : lidar::SensorModels()) {
    text += ModelLine({model.name, PointsText(model), YesNo(model.has_imu), YesNo(model.has_time),
                       model.needs_tables ? "needed" : "no", YesNo(model.transforms_points),
                       GatedText(model)});
  }
  return text;
}

std::string NoPointsText(const Model& model) {
  if (model.decodes_points) return {};
  const std::string name = model.name;
  if (model.delivers_frames) {
    return "all points of " + name + " lie at the origin: only the bounds of its frames are known";
  }
  return name + " packets are accepted and counted, but give neither points nor frames";
}

std::string WhyNoFrames(const Model& model) {
  return model.delivers_frames ? "" : ", as none come of " + std::string(model.name) + " packets";
}

std::size_t ModelIndex(const Model& model) {
  return static_cast<std::size_t>(&model - lidar::SensorModels().data());
}

bool Fits(const Model& model, const std::uint8_t* payload, std::size_t size) {
  return size == model.packet_bytes &&
         std::equal(payload, payload + model.identifier_bytes, model.identifier.begin());
}

std::string HexBytes(const std::uint8_t* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    if (i > 0) text += ' ';
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 0x0FU];
  }
  return text;
}

}  // namespace orliq::cli
