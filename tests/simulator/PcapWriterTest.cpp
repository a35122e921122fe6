// SPDX-License-Identifier: Apache-2.0
#include "simulator/PcapWriter.h"

#include <gtest/gtest.h>
#include <pcap/pcap.h>

#include <fstream>
#include <iterator>
#include <limits>
#include <memory>

#include "support/TempDir.h"

namespace orliq::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Record {
  long seconds;
  long micros;
  Bytes frame;
};

auto CountFiles(const std::filesystem::path& folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

std::vector<Record> ReadCapture(const std::filesystem::path& path) {
  std::vector<Record> records;
  char error[PCAP_ERRBUF_SIZE] = "";
  const std::unique_ptr<pcap_t, void (*)(pcap_t*)> handle(pcap_open_offline(path.c_str(), error),
                                                          pcap_close);
  pcap_pkthdr* header = nullptr;
  const u_char* data = nullptr;
  while (handle && pcap_next_ex(handle.get(), &header, &data) == 1) {
    EXPECT_EQ(header->caplen, header->len);
    records.push_back({header->ts.tv_sec, header->ts.tv_usec, Bytes(data, data + header->caplen)});
  }
  EXPECT_STREQ(error, "");
  return records;
}

/// Ones' complement sum of big-endian words; 0xFFFF over data that holds its own right checksum.
unsigned OnesSum(Bytes bytes) {
  bytes.resize(bytes.size() + bytes.size() % 2);
  unsigned sum = 0;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    sum += bytes[i] * 256U + bytes[i + 1];
    sum = (sum & 0xFFFFU) + (sum >> 16U);
  }
  return sum;
}

void ExpectRightChecksums(const Bytes& frame) {
  EXPECT_EQ(OnesSum(Bytes(frame.begin() + 14, frame.begin() + 34)), 0xFFFFU);
  Bytes datagram(frame.begin() + 34, frame.end());
  datagram.resize(datagram.size() + datagram.size() % 2);
  datagram.insert(datagram.end(), frame.begin() + 26, frame.begin() + 34);  // both addresses
  datagram.insert(datagram.end(), {0, 17, frame[38], frame[39]});           // UDP, its length
  EXPECT_EQ(OnesSum(datagram), 0xFFFFU);
}

TEST(PcapWriter, RecordsAreDatagramsThatAReceiverWouldTake) {
  const test::TempDir scratch;
  std::string error;
  auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
  ASSERT_NE(writer, nullptr) << error;
  const Bytes payloads[] = {{0, 0},
                            {1, 2, 255},
                            {},
                            Bytes(UdpFramer::kMaxPayload, 0xFF),
                            {0x68, 0xDC}};  // the last one's sum carries twice
  const double times[] = {1700000000.25, 1700000000.9999997, 0.0, 2147483646.5, 1.0};
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_TRUE(writer->Write(payloads[i], times[i]));
  }
  EXPECT_FALSE(std::filesystem::exists(scratch / "a.pcap")) << "not before it is complete";
  ASSERT_TRUE(writer->Close(error)) << error;
  EXPECT_EQ(CountFiles(scratch.path()), 1);

  const auto records = ReadCapture(scratch / "a.pcap");
  ASSERT_EQ(records.size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    SCOPED_TRACE(i);
    ExpectRightChecksums(records[i].frame);
    EXPECT_EQ(Bytes(records[i].frame.begin() + 42, records[i].frame.end()), payloads[i]);
    EXPECT_EQ(records[i].frame[19], i) << "identification counts up";
  }
  const Bytes header(records[0].frame.begin() + 12, records[0].frame.begin() + 42);
  EXPECT_EQ(header, (Bytes{8,  0,   0x45, 0,    0,   30,   0, 0,   0x40, 0,    // 30 bytes, whole
                           64, 17,  0xB6, 0x50, 192, 168,  1, 200, 192,  168,  // UDP from, to
                           1,  102, 9,    0x40, 9,   0x40, 0, 10,  0x68, 0xDB}));  // 2368, 2368
  EXPECT_EQ(records[0].seconds, 1700000000);
  EXPECT_EQ(records[0].micros, 250000);
  EXPECT_EQ(records[1].seconds, 1700000001) << "rounded up into the next second";
  EXPECT_EQ(records[1].micros, 0);
  EXPECT_EQ(records[3].seconds, 2147483646);
}

TEST(PcapWriter, ChecksumThatComesOutZeroIsSentAsAllOnes) {
  auto framer = UdpFramer::Create({});
  const Bytes plain = framer->Frame({0, 0});
  const Bytes frame = framer->Frame({plain[40], plain[41]});  // cancels the sum of all the rest
  EXPECT_EQ(frame[40] * 256 + frame[41], 0xFFFF);
}

TEST(PcapWriter, OldFileStaysUntilTheNewOneIsComplete) {
  const test::TempDir scratch;
  std::ofstream(scratch / "a.pcap") << "old";
  std::string error;
  {
    auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
    ASSERT_TRUE(writer->Write({1}, 1.0));
  }
  EXPECT_EQ(CountFiles(scratch.path()), 1) << "given up without a trace";
  EXPECT_EQ(std::filesystem::file_size(scratch / "a.pcap"), 3U);
  auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
  EXPECT_TRUE(writer->Close(error));
  EXPECT_FALSE(writer->Close(error)) << "only once";
  EXPECT_TRUE(ReadCapture(scratch / "a.pcap").empty());
}

TEST(PcapWriter, RefusesWhatItCannotWriteFaithfully) {
  const test::TempDir scratch;
  std::string error;
  {
    auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
    EXPECT_FALSE(writer->Write(Bytes(UdpFramer::kMaxPayload + 1), 1.0)) << "no datagram";
    EXPECT_FALSE(writer->Write({1}, -1.0));
    EXPECT_FALSE(writer->Write({1}, 2147483648.0)) << "readers take it as negative";
    EXPECT_FALSE(writer->Write({1}, std::numeric_limits<double>::quiet_NaN()));
  }
  for (const auto& path : {scratch / "none/a.pcap", scratch / "", {"/dev/null"}}) {
    error.clear();
    EXPECT_EQ(PcapWriter::Create(path, {}, error), nullptr) << path;
    EXPECT_FALSE(error.empty()) << path;
  }
  UdpFlow nowhere;
  nowhere.destination_ip = "192.168.1";
  EXPECT_EQ(PcapWriter::Create(scratch / "a.pcap", nowhere, error), nullptr) << "half an address";
  EXPECT_EQ(CountFiles(scratch.path()), 0);
}

TEST(PcapWriter, FullDiskIsReportedAndLeavesNothing) {
  const test::TempDir scratch;
  std::filesystem::create_symlink("/dev/full", scratch / "a.pcap.part");
  std::string error;
  auto writer = PcapWriter::Create(scratch / "a.pcap", {}, error);
  ASSERT_NE(writer, nullptr) << error;
  bool written = true;
  for (int i = 0; i < 1000 && written; ++i) {
    written = writer->Write(Bytes(1104), 1.0);
  }
  EXPECT_FALSE(written);
  EXPECT_FALSE(writer->Close(error));
  EXPECT_NE(error.find("a.pcap"), std::string::npos) << error;
  EXPECT_EQ(CountFiles(scratch.path()), 0);
}

}  // namespace
}  // namespace orliq::sim
