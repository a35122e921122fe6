// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/UtcBlock.h"

#include <cmath>
#include <ctime>

namespace orliq::sim {

void WriteUtcBlock(ByteWriter& writer, double time_s) {
  constexpr long kMicros = 1000000;  // [us/s]
  auto seconds = static_cast<std::time_t>(std::floor(time_s));
  long micros = std::lround((time_s - static_cast<double>(seconds)) * kMicros);
  if (micros == kMicros) {  // rounded up into the next second
    ++seconds;
    micros = 0;
  }
  std::tm calendar{};
  gmtime_r(&seconds, &calendar);
  writer.U24(static_cast<std::uint32_t>(micros))
      .U16(static_cast<std::uint32_t>(calendar.tm_year + 1900))
      .U8(static_cast<std::uint32_t>(calendar.tm_mon + 1))
      .U8(static_cast<std::uint32_t>(calendar.tm_mday))
      .U8(static_cast<std::uint32_t>(calendar.tm_hour))
      .U8(static_cast<std::uint32_t>(calendar.tm_min))
      .U8(static_cast<std::uint32_t>(calendar.tm_sec));
}

}  // namespace orliq::sim
