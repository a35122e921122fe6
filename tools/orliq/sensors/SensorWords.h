// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::cli {

/// What a user calls the things that describe a sensor: here on the command line.
struct SensorWords {
  const char* model = "--model";
  const char* port = "--port";
  const char* source = "--source";
};

/// Likewise in the file that describes several.
inline constexpr SensorWords kFileWords = {"model:", "port:", "source:"};

}  // namespace orliq::cli
