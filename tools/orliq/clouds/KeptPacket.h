// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

#include "simulator/sending/UdpFramer.h"

namespace orliq::cli {

/// A packet of a live sensor on its way into a file.
struct KeptPacket {
  std::size_t sensor = 0;  ///< index
  double time_s = 0.0;     ///< when the system received it, since 1970 UTC
  sim::UdpEndpoints endpoints;
  std::string_view payload;
};

}  // namespace orliq::cli
