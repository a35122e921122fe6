// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/CheckTables.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

#include "param/CheckParam.h"

namespace orliq::cli {
namespace {

using lidar::AngleCheckParam;
using lidar::OffsetCheckParam;

static_assert(std::size_t{kBeamColumns} * kBeamRows == lidar::kBeamPositions);

/// The record's tables stand at odd addresses, so they are copied, never bound.
std::vector<float> ValuesOf(const std::string& word, const lidar::CheckParam& record) {
  const auto& angles = static_cast<const AngleCheckParam&>(record);
  const auto copy = [](const void* packed, std::size_t count) {
    std::vector<float> values(count);
    std::memcpy(values.data(), packed, count * sizeof(float));
    return values;
  };
  if (word == "azimuth") return copy(&angles.azimuth, lidar::kBeamPositions);
  if (word == "elevation") return copy(&angles.elevation, lidar::kBeamPositions);
  if (word == "weight") return copy(&angles.weight, lidar::kWeights);
  if (word == "near_filter") return copy(&angles.near_filter, lidar::kNearFilters);
  return copy(&static_cast<const OffsetCheckParam&>(record).offset, lidar::kBeamPositions);
}

const char* UnitOf(const std::string& word) {
  if (word == "azimuth" || word == "elevation") return "deg";
  return word == "offset" ? "m" : "";
}

}  // namespace

void ValueRange::Add(float value) {
  if (!std::isfinite(value)) return;
  min = empty ? value : std::min(min, value);
  max = empty ? value : std::max(max, value);
  empty = false;
}

const lidar::TableLoad* CheckedTable::InUse() const {
  const auto found = std::find_if(files.rbegin(), files.rend(),
                                  [](const lidar::TableLoad& file) { return file.accepted; });
  return found == files.rend() ? nullptr : &*found;
}

ValueRange CheckedTable::Range() const {
  ValueRange range;
  for (const float value : values) range.Add(value);
  return range;
}

std::vector<CheckedTable> TablesOf(lidar::ParamService& service, lidar::LidarType type) {
  std::vector<CheckedTable> tables;
  for (const lidar::TableLoad& wanted : service.LastTables()) {
    CheckedTable table = {wanted.table, UnitOf(wanted.table), wanted.needed, {}, {}};
    for (const lidar::TableLoad& file : service.LastLoad()) {
      if (file.table == wanted.table) table.files.push_back(file);
    }
    if (table.InUse() != nullptr) {
      table.values = ValuesOf(table.word, *service.GetCheckParam(type));
    }
    tables.push_back(std::move(table));
  }
  return tables;
}

std::string FileName(const lidar::TableLoad& file) {
  return std::filesystem::path(file.path).filename().string();
}

}  // namespace orliq::cli
