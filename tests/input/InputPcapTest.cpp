// SPDX-License-Identifier: Apache-2.0
#include "input/InputPcap.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "input/InputFactory.h"
#include "support/CaptureBuilder.h"
#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

using test::Bytes;
using test::CaptureBuilder;
using testing::ElementsAre;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

/// Writes a capture of the pcapng format block by block, in either byte order.
class PcapngBuilder {
 public:
  explicit PcapngBuilder(bool big_endian) : big_endian_(big_endian) { Section(); }
  PcapngBuilder& Section() { return Block(0x0A0D0D0A, U(4, 0x1A2B3C4D) + U(2, 1) + U(10, 0)); }
  PcapngBuilder& Interface() { return Block(1, U(2, 1) + U(2, 0) + U(4, 65535)); }
  PcapngBuilder& Packet(unsigned interface, std::size_t payload) {
    const Bytes frame = CaptureBuilder::Frame(Bytes(payload, 1), 2368);
    const std::string data(frame.begin(), frame.end());
    const std::string length = U(4, frame.size());
    return Block(6, U(4, interface) + U(8, 0) + length + length + data);
  }
  PcapngBuilder& Block(unsigned type, std::string body) {
    body.resize((body.size() + 3) / 4 * 4);
    const std::string length = U(4, 12 + body.size());
    text_ += U(4, type) + length + body + length;
    return *this;
  }
  std::string Write(const std::filesystem::path& path) const {
    std::ofstream(path, std::ios::binary) << text_;
    return path;
  }

 private:
  std::string U(std::size_t width, std::uint64_t value) const {
    std::string number(width, 0);
    for (std::size_t i = 0; i < width && i < 8; ++i) number[i] = static_cast<char>(value >> 8 * i);
    if (big_endian_) std::reverse(number.begin(), number.end());
    return number;
  }
  bool big_endian_;
  std::string text_;
};

class CaptureInput : public testing::Test {
 protected:
  /// Opens the capture; what the library prints is checked elsewhere.
  template <typename Capture>
  void Open(const Capture& capture, std::uint16_t port = 2368) {
    CaptureStdout();
    input_ = std::make_unique<InputPcap>(InputParam{"", port, capture.Write(dir_ / "c.pcap")});
    ASSERT_TRUE(input_->Init());
    GetCapturedStdout();
  }
  int Read(long* position = nullptr, bool remember = false) {
    return input_->RecvPacket(buffer_, 1546, position, remember);
  }

  test::TempDir dir_;
  std::unique_ptr<InputPcap> input_;
  std::shared_ptr<Buffer> buffer_ = std::make_shared<Buffer>();
};

TEST_F(CaptureInput, DeliversTheDatagramsOfItsPortAndZeroForTheRest) {
  CaptureBuilder capture;
  capture.Udp(Bytes(1206, 7)).Udp(Bytes(10, 8), 2369);
  capture.Record(CaptureBuilder::Frame(Bytes(10, 9), 2368, 6)).Udp(Bytes{1, 2, 3});
  Open(capture, 2368);
  for (const int expected : {1206, 0, 0, 3, -1}) EXPECT_EQ(Read(), expected);
  EXPECT_THAT(Bytes(buffer_->data, buffer_->data + buffer_->length), ElementsAre(1, 2, 3));
  Open(capture, 0);
  for (const int expected : {1206, 10, 0, 3, -1}) EXPECT_EQ(Read(), expected);
}

// Interfaces are described anywhere before their packets, and numbered anew in each section.
TEST_F(CaptureInput, MovesFromAnyRecordToAnyOtherThoughSectionsAndInterfacesStandBetween) {
  for (const bool big_endian : {false, true}) {
    PcapngBuilder capture(big_endian);
    capture.Interface().Packet(0, 1).Block(5, "1234").Interface().Packet(1, 2);
    capture.Interface().Packet(2, 3).Section().Interface().Packet(0, 4);
    capture.Section().Interface().Packet(0, 5).Interface().Interface().Packet(2, 6);
    Open(capture);
    std::vector<long> positions(7);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(Read(&positions[i], true), i < 6 ? i + 1 : -1);
    std::minstd_rand random(1);
    for (std::size_t i = 0, next = 6; i < 500; ++i) {
      const bool move = random() % 2 == 0;
      if (move) next = random() % 7;
      EXPECT_EQ(Read(move ? &positions[next] : nullptr),
                next < 6 ? static_cast<int>(next) + 1 : -1);
      next = std::min<std::size_t>(next + 1, 6);
    }
  }
}

TEST_F(CaptureInput, TakesNoMemoryForInterfacesThatItPassesAgainAndAgain) {
  PcapngBuilder capture(false);
  for (int i = 0; i < 3000; ++i) {
    if (i == 1000 || i == 2000) capture.Packet(0, i / 1000);
    capture.Interface();
  }
  Open(capture);
  const auto resident_pages = [] {
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages;
  };
  long position = 0;
  for (const int record : {1, 2}) EXPECT_EQ(Read(&position, true), record);
  const long before = resident_pages();
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(Read(), -1);
    EXPECT_EQ(Read(&position), 2);
  }
  EXPECT_LT(resident_pages() - before, 500) << "1000 interfaces, ten pages, at each of 200 moves";
}

TEST_F(CaptureInput, TrustsNoLengthThatTheFileClaims) {
  const Bytes frame = CaptureBuilder::Frame(Bytes(1104, 5), 2368);
  const auto head = [&frame](std::size_t n) { return Bytes(frame.begin(), frame.begin() + n); };
  const struct {
    Bytes bytes;
    std::uint32_t wire_length;
    int expected;
    const char* why;
  } rows[] = {
      {head(24), 0, 0, "shorter than its headers, though the filter may match"},
      {head(40), 0, 0, "port present, UDP header incomplete"},
      {head(42), 0, 0, "no payload"},
      {head(43), 0, 1, "one byte of payload"},
      {frame, 24, 0, "claims to have been shorter than its headers"},
      {head(60), 1146, 18, "cut by the snap length: only the bytes that exist"},
      {CaptureBuilder::Frame(Bytes(9000, 6), 2368), 0, 1546, "larger than the buffer: cut to it"},
      {CaptureBuilder::VlanTagged(frame), 0, 0, "a VLAN tag moves the port"},
      {frame, 0, 1104, "an honest record behind all of them"},
  };
  CaptureBuilder capture;
  for (const auto& row : rows) capture.Record(row.bytes, row.wire_length);
  for (const std::uint16_t port : {std::uint16_t{0}, std::uint16_t{2368}}) {
    Open(capture, port);
    for (const auto& row : rows) {
      buffer_->length = 4711;
      EXPECT_EQ(Read(), row.expected) << row.why;
      const bool refused = row.expected == 0 && row.bytes.size() != 42;  // untouched then
      EXPECT_EQ(buffer_->length, refused ? 4711 : row.expected) << row.why;
    }
  }
}

TEST_F(CaptureInput, ADamagedRecordEndsTheFileUntilAMoveBack) {
  CaptureBuilder capture;
  capture.Udp(Bytes{1}).Record(Bytes(50, 0xFF)).Udp(Bytes{2});
  const std::size_t second = 24 + 16 + 43;
  capture.bytes()[second + 8] = capture.bytes()[second + 11] = 0x7F;  // claims 2 GB
  Open(capture);
  for (const int expected : {1, -1, -1, -1}) EXPECT_EQ(Read(), expected);
  long first = 24;
  EXPECT_EQ(Read(&first), 1);
  buffer_ = nullptr;
  EXPECT_EQ(Read(&first), 0) << "no buffer, no packet";
}

TEST_F(CaptureInput, RefusesWhatIsNoCaptureFileAndPrintsThePathAllTheSame) {
  const std::string fifo = dir_ / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string paths[] = {
      dir_.Write("empty.pcap", ""), fifo, dir_.path(), "-", "", "/dev/zero", dir_ / "missing"};
  for (const std::string& path : paths) {
    CaptureStdout();
    InputPcap input({"", 0, path});
    EXPECT_FALSE(input.Init()) << path;
    EXPECT_EQ(GetCapturedStdout(), "pcap_file:" + path + "\n");
    EXPECT_EQ(input.RecvPacket(buffer_, 1546, nullptr, false), -1) << path;
  }
}

TEST(InputFactoryTest, RefusesATypeWithoutASource) {
  CaptureStdout();
  EXPECT_EQ(InputFactory::CreateInput(static_cast<InputType>(2), {}), nullptr);
  EXPECT_EQ(GetCapturedStdout(),
            "\033[1m\033[31mWrong Input Type. Please check your LiDAR Version! \033[0m\n");
  EXPECT_NE(InputFactory::CreateInput(InputType::Pcap, {}), nullptr);
}

}  // namespace
}  // namespace orliq::lidar
