// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "multi_driver/PointTypes.h"

// One list of fields per point type, used by every output format. A new point type needs only its
// list here.
namespace orliq::cli {

enum class FieldKind : char { kSigned = 'I', kUnsigned = 'U', kFloat = 'F' };

struct PointField {
  const char* name;
  std::size_t offset;  ///< [bytes] in the record
  std::size_t width;   ///< [bytes] of one element
  FieldKind kind;
  std::size_t count = 1;  ///< elements
};

namespace fields {
constexpr PointField kX = {"x", 0, 4, FieldKind::kFloat};
constexpr PointField kY = {"y", 4, 4, FieldKind::kFloat};
constexpr PointField kZ = {"z", 8, 4, FieldKind::kFloat};
constexpr PointField kIntensity = {"intensity", 12, 2, FieldKind::kUnsigned};
constexpr PointField kRing = {"ring", 14, 2, FieldKind::kUnsigned};
constexpr PointField kTimestamp = {"timestamp", 16, 8, FieldKind::kFloat};
}  // namespace fields

template <typename Point>
inline constexpr std::array<PointField, 0> kPointFields = {};

template <>
inline constexpr std::array kPointFields<Point> = {fields::kX, fields::kY, fields::kZ,
                                                   fields::kIntensity, fields::kRing};
template <>
inline constexpr std::array kPointFields<PointTime> = {
    fields::kX, fields::kY, fields::kZ, fields::kIntensity, fields::kRing, fields::kTimestamp};

template <>
inline constexpr std::array kPointFields<PointSource> = {
    fields::kX,
    fields::kY,
    fields::kZ,
    fields::kIntensity,
    fields::kRing,
    fields::kTimestamp,
    PointField{"distance", 24, 4, FieldKind::kSigned},
    PointField{"source", 28, 1, FieldKind::kUnsigned, 9}};

template <>
inline constexpr std::array kPointFields<JuniqPoint> = {
    fields::kX,
    fields::kY,
    fields::kZ,
    fields::kIntensity,
    fields::kRing,
    PointField{"row", 16, 2, FieldKind::kUnsigned},
    PointField{"column", 18, 2, FieldKind::kUnsigned},
    PointField{"aux", 20, 2, FieldKind::kUnsigned},
    PointField{"width_ref", 22, 2, FieldKind::kUnsigned},
    PointField{"peak", 24, 4, FieldKind::kUnsigned},
    PointField{"tof", 28, 4, FieldKind::kUnsigned},
    PointField{"width", 32, 4, FieldKind::kUnsigned}};

/// Whether the fields follow each other without a gap and fill the record: only then may the points
/// be written as they lie in memory.
template <std::size_t N>
constexpr bool IsDense(const std::array<PointField, N>& list, std::size_t record_bytes) {
  std::size_t end = 0;
  for (const PointField& field : list) {
    if (field.offset != end) return false;
    end += field.width * field.count;
  }
  return end == record_bytes;
}
static_assert(IsDense(kPointFields<Point>, sizeof(Point)));
static_assert(IsDense(kPointFields<PointTime>, sizeof(PointTime)));
static_assert(IsDense(kPointFields<PointSource>, sizeof(PointSource)));
static_assert(IsDense(kPointFields<JuniqPoint>, sizeof(JuniqPoint)));

}  // namespace orliq::cli
