// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "param/ParamService.h"

namespace orliq::bench {

/// Whole frames of a simulated sensor, some 4,000 packets, to be sent again and again; and its check
/// parameters.
struct Stream {
  explicit Stream(const std::string& model);

  /// A copy of the sensor's record; the tables of a model without any stay empty.
  template <typename Check>
  Check CheckParamOf();

  /// Writes the packets as a capture, over and over until it has at least `bytes`.
  void WriteCapture(const std::string& path, std::size_t bytes) const;

  lidar::LidarType type;
  std::string check_folder;  // empty for a model without
  std::size_t packets_per_frame = 0;
  std::vector<std::vector<std::uint8_t>> packets;
  lidar::ParamService params;
};

template <typename Check>
Check Stream::CheckParamOf() {
  const lidar::CheckParam* const record = params.GetCheckParam(type);
  return record != nullptr ? *static_cast<const Check*>(record) : Check();
}

/// The stream of that model that all benchmarks of a program share; made at the first call.
Stream& SharedStream(const std::string& model);

/// A folder for files of a benchmark, removed when the program ends.
const std::string& ScratchFolder();

}  // namespace orliq::bench
