// SPDX-License-Identifier: Apache-2.0
#include "multi_driver/SensorModels.h"

#include <algorithm>

#include "decoder/brantis/BrantisModel.h"
#include "decoder/corvik/CorvikModel.h"
#include "decoder/fennix/FennixModel.h"
#include "decoder/glavor/GlavorModel.h"
#include "decoder/hestra/HestraModel.h"
#include "decoder/juniq/JuniqModel.h"
#include "decoder/kelvane/KelvaneModel.h"

namespace orliq::lidar {
namespace {

/// What a model's constants do not tell.
struct Traits {
  FrameMark frame_mark;
  bool has_imu;
  bool has_time;
  bool needs_tables;
  bool decodes_points;
  bool delivers_frames;
  bool transforms_points;
  bool keeps_gated_points;
};

constexpr SensorModel Row(const char* name, LidarType type, const DecoderConstParam& constants,
                          const Traits& traits) {
  return {name,
          type,
          constants.MSOP_LEN,
          constants.MSOP_ID_LEN,
          constants.MSOP_ID,
          constants.LASER_NUM,
          constants.BLOCKS_PER_PKT,
          traits.frame_mark,
          traits.has_imu,
          traits.has_time,
          traits.needs_tables,
          traits.decodes_points,
          traits.delivers_frames,
          traits.transforms_points,
          traits.keeps_gated_points};
}

constexpr std::array<SensorModel, kSensorModels> kTable = {{
    // mark, IMU, time, tables, points, frames, transform, gated points stay
    Row("juniq", LidarType::Juniq, kJuniq,
        {FrameMark::Last, true, true, true, true, true, true, true}),
    Row("glavor", LidarType::Glavor, kGlavor,
        {FrameMark::Last, false, false, true, true, true, true, true}),
    Row("fennix", LidarType::Fennix, kFennix,
        {FrameMark::First, false, false, false, false, true, false, false}),
    Row("corvik", LidarType::Corvik, kCorvik,
        {FrameMark::First, true, true, false, true, true, true, true}),
    Row("brantis", LidarType::Brantis, kBrantis,
        {FrameMark::First, false, false, false, false, false, false, false}),
    Row("hestra", LidarType::Hestra, kHestra,
        {FrameMark::None, false, false, false, false, false, false, false}),
    Row("kelvane", LidarType::Kelvane, kKelvane,
        {FrameMark::First, false, false, false, true, true, false, false}),
}};

template <typename Matches>
const SensorModel* Find(const Matches& matches) {
  const auto* const found = std::find_if(kTable.begin(), kTable.end(), matches);
  return found == kTable.end() ? nullptr : found;
}

}  // namespace

const std::array<SensorModel, kSensorModels>& SensorModels() {
  return kTable;
}

const SensorModel* FindSensorModel(const std::string& name) {
  return Find([&](const SensorModel& model) { return name == model.name; });
}

const SensorModel* FindSensorModel(LidarType type) {
  return Find([&](const SensorModel& model) { return type == model.type; });
}

}  // namespace orliq::lidar
