// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/kelvane/KelvaneSensor.h"

#include <gtest/gtest.h>

namespace orliq::sim {
namespace {

TEST(KelvaneSensor, PacketsAreCountedFrom1InEachFrameAndSayTheirFace) {
  SensorOptions options;
  const auto scene = MakeScene("empty-room");
  for (const std::size_t cycle : {2U, 4U}) {
    options.cycle_packets = cycle;
    KelvaneSensor sensor{options};
    for (unsigned frame = 0; frame < 5; ++frame) {
      const auto packets = sensor.EncodeFrame(*scene, frame);
      ASSERT_EQ(packets.size(), 600 * cycle);
      for (unsigned i = 0; i < packets.size(); ++i) {
        const auto& bytes = packets[i].payload;
        ASSERT_EQ(bytes[4] * 256U + bytes[5], i + 1);
        ASSERT_EQ(bytes[8], cycle == 2 ? 1 : 0);
        ASSERT_EQ(bytes[26] & 2, 0) << "the records are valid";
        ASSERT_EQ(bytes[27], 1 + frame % 4);
      }
    }
  }
}

}  // namespace
}  // namespace orliq::sim
