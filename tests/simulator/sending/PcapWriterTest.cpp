// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PcapWriter.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
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

/// While it lives, no file of this process grows beyond so many bytes.
struct FullDisk {
  explicit FullDisk(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {bytes, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before); }
  rlimit before = {};
};

TEST(PcapWriter, WhatAFullDiskHasLostIsNeverCalledASuccess) {
  std::signal(SIGXFSZ, SIG_IGN);
  const test::TempDir scratch;
  std::string error;
  const auto whole = PcapWriter::Create(scratch / "whole.pcap", {}, error);
  const auto start = PcapWriter::Create(scratch / "start.pcap", {}, error);
  for (const auto& writer : {whole.get(), start.get()}) {
    EXPECT_TRUE(writer->Write(Bytes(1000), 1.0) && writer->Flush());
    const FullDisk disk(2000);
    EXPECT_TRUE(writer->Write(Bytes(1000), 2.0)) << "it waits in memory";
    EXPECT_FALSE(writer->Flush());
  }
  {
    const auto late = PcapWriter::Create(scratch / "late.pcap", {}, error);
    EXPECT_TRUE(late->Write(Bytes(1000), 1.0));
    const FullDisk disk(500);
    EXPECT_FALSE(late->Close(error)) << "the last of it does not fit";
  }
  errno = 0;  // and there is room again
  EXPECT_FALSE(whole->Flush());
  EXPECT_EQ(errno, EFBIG) << "the fault that was";
  EXPECT_FALSE(whole->Write(Bytes(1000), 3.0));
  EXPECT_FALSE(whole->Close(error));
  EXPECT_THAT(error, testing::HasSubstr("File too large"));
  EXPECT_TRUE(start->CloseAtLastFlush(error)) << error;
  EXPECT_EQ(std::filesystem::file_size(scratch / "start.pcap"), 24U + 16 + 42 + 1000);
  const std::filesystem::directory_iterator files(scratch.path());
  EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "nothing of the others";
}

}  // namespace
}  // namespace orliq::sim
