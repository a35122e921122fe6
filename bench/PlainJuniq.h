// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "decoder/Trigon.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/PointTypes.h"
#include "param/CheckParam.h"

namespace orliq::bench {

/// The yardstick: a Juniq packet decoded by one plain loop over its blocks, with the library's
/// arithmetic and tables, into a reserved vector; no lock, no virtual call, no frame handling.
class PlainJuniq {
 public:
  PlainJuniq(const lidar::OffsetCheckParam& check, const lidar::DecoderParam& gates)
      : check_(check), gates_(gates) {}

  /// Appends the packet's points; true when it carries the frame marker.
  bool Decode(const std::uint8_t* pkt, std::vector<Point>& points) const;

 private:
  const lidar::OffsetCheckParam& check_;
  lidar::DecoderParam gates_;
  lidar::Trigon trigon_;
};

}  // namespace orliq::bench
