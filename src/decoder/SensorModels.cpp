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

// What a model's constants do not tell, named as the fields of SensorModel.
constexpr unsigned kImu = 1U << 0U;
constexpr unsigned kTime = 1U << 1U;
constexpr unsigned kTables = 1U << 2U;
constexpr unsigned kPoints = 1U << 3U;
constexpr unsigned kFrames = 1U << 4U;
constexpr unsigned kTransform = 1U << 5U;
constexpr unsigned kKeepsGated = 1U << 6U;

// Returns of a whole frame.
constexpr std::uint32_t kJuniqReturns = 192 * 256;
constexpr std::uint32_t kGlavorReturns = 192 * 256;
constexpr std::uint32_t kCorvikReturns = 56 * 192;

constexpr SensorModel Row(const char* name, LidarType type, const DecoderConstParam& constants,
                          std::uint32_t returns, FrameMark frame_mark, unsigned has) {
  return {name,
          type,
          constants.MSOP_LEN,
          constants.MSOP_ID_LEN,
          constants.MSOP_ID,
          constants.LASER_NUM,
          constants.BLOCKS_PER_PKT,
          returns,
          frame_mark,
          (has & kImu) != 0,
          (has & kTime) != 0,
          (has & kTables) != 0,
          (has & kPoints) != 0,
          (has & kFrames) != 0,
          (has & kTransform) != 0,
          (has & kKeepsGated) != 0};
}

constexpr std::array<SensorModel, kSensorModels> kTable = {{
    Row("juniq", LidarType::Juniq, kJuniq, kJuniqReturns, FrameMark::Last,
        kImu | kTime | kTables | kPoints | kFrames | kTransform | kKeepsGated),
    Row("glavor", LidarType::Glavor, kGlavor, kGlavorReturns, FrameMark::Last,
        kTables | kPoints | kFrames | kTransform | kKeepsGated),
    Row("fennix", LidarType::Fennix, kFennix, 0, FrameMark::First, kFrames),
    Row("corvik", LidarType::Corvik, kCorvik, kCorvikReturns, FrameMark::First,
        kImu | kTime | kPoints | kFrames | kTransform | kKeepsGated),
    Row("brantis", LidarType::Brantis, kBrantis, 0, FrameMark::First, 0),
    Row("hestra", LidarType::Hestra, kHestra, 0, FrameMark::None, 0),
    Row("kelvane", LidarType::Kelvane, kKelvane, 0, FrameMark::First, kPoints | kFrames),
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
