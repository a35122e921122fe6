// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PcapWriter.h"

#include <gmock/gmock.h>

#include <fstream>

#include "support/TempDir.h"

namespace orliq::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(PcapWriter, RecordsAreDatagramsThatAReceiverWouldTake) {
  const struct {
    double time_s;
    std::uint32_t seconds, micros;
    Bytes payload;
    unsigned ip_sum, udp_sum;  // ones' complement, worked out apart
  } rows[] = {
      {1700000000.25, 1700000000, 250000, {0, 0}, 0xB650, 0x68DB},
      {1700000000.9999997, 1700000001, 0, {1, 2, 255}, 0xB64E, 0x68D6},  // odd: a high half
      {0.0, 0, 0, {0x68, 0xDC}, 0xB64E, 0xFFFE},                         // carries twice
      {2147483646.5, 2147483646, 500000, {0x68, 0xDB}, 0xB64D, 0xFFFF},  // 0 would mean no sum
  };
  const test::TempDir scratch;
  std::string error;
  auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
  EXPECT_FALSE(PcapWriter::Create(scratch / "a.pcap", {}, error)) << "one writer at a time";
  for (const auto& row : rows) EXPECT_TRUE(writer->Write(row.payload, row.time_s));
  EXPECT_FALSE(std::filesystem::exists(scratch / "a.pcap")) << "not before it is complete";
  ASSERT_TRUE(writer->Close(error)) << error;
  std::ifstream file(scratch / "a.pcap", std::ios::binary);
  file.ignore(24);
  for (const auto& [time_s, seconds, micros, payload, ip_sum, udp_sum] : rows) {
    std::uint32_t record[4] = {};
    file.read(reinterpret_cast<char*>(record), sizeof record);
    const auto size = static_cast<std::uint32_t>(42 + payload.size());
    EXPECT_THAT(record, testing::ElementsAre(seconds, micros, size, size));
    Bytes frame(size);
    file.read(reinterpret_cast<char*>(frame.data()), size);
    const auto word = [&frame](std::size_t at) { return frame[at] * 256U + frame[at + 1]; };
    EXPECT_EQ(word(38), size - 34) << "UDP length";
    EXPECT_EQ(word(24), ip_sum) << "of the length, the identification and the addresses";
    EXPECT_EQ(word(40), udp_sum);
    EXPECT_EQ(Bytes(frame.begin() + 42, frame.end()), payload);
  }
}

}  // namespace
}  // namespace orliq::sim
