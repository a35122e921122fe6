// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "param/ParamService.h"

namespace orliq::bench {

/// The packets of a simulated Juniq sensor and its check parameters.
struct JuniqStream {
  explicit JuniqStream(int frames);

  const lidar::OffsetCheckParam& check_param() {
    return *static_cast<lidar::OffsetCheckParam*>(params.GetCheckParam(lidar::LidarType::Juniq));
  }

  /// Writes the packets as a capture, over and over until it has at least `bytes`.
  void WriteCapture(const std::string& path, std::size_t bytes) const;

  std::vector<std::vector<std::uint8_t>> packets;
  lidar::ParamService params;
};

/// The stream that all benchmarks of a program share; made at the first call.
JuniqStream& SharedStream();

/// A folder for files of a benchmark, removed when the program ends.
const std::string& ScratchFolder();

}  // namespace orliq::bench
