// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureSurvey.h"

#include <gtest/gtest.h>

#include <random>

#include "orliq/capture/FrameRemarks.h"
#include "orliq/capture/SurveyText.h"
#include "support/CaptureBuilder.h"
#include "support/Playback.h"
#include "support/SimulatedCapture.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using test::Bytes;
using test::CaptureBuilder;

/// A frame whose payload of that size begins with the identifier that most models share.
Bytes Frame(std::size_t size, unsigned port = 2368) {
  Bytes payload = test::JuniqPacket().payload();
  payload.resize(size);
  return CaptureBuilder::Frame(payload, port);
}

Bytes Patched(Bytes frame, std::size_t position, std::uint8_t value) {
  frame[position] = value;
  return frame;
}

CaptureSurvey Survey(const CaptureBuilder& capture, std::uint16_t port = 0,
                     std::uint32_t source = 0, const Model* model = nullptr) {
  const test::TempDir dir;
  return SurveyCapture(capture.Write(dir / "c.pcap"), {port, source, model}, {});
}

/// The IPv4 header exchanged for one of IPv6, behind it `options` with the number `next`.
Bytes Ipv6(Bytes frame, std::uint8_t next, const Bytes& options = {}) {
  Bytes header = {0x86, 0xDD, 0x60, 0, 0, 0, 0, 0, next, 64};
  header.resize(2 + 40, 0x20);
  for (const std::uint8_t byte : options) header.push_back(byte);
  frame.erase(frame.begin() + 12, frame.begin() + 34);
  return CaptureBuilder::Widened(std::move(frame), 12, header);
}

TEST(CaptureSurvey, NamesTheReasonForEveryRecordThatCannotBePlayed) {
  const Bytes good = Frame(1104);
  const auto head = [&](std::ptrdiff_t size) { return Bytes(good.begin(), good.begin() + size); };
  const auto vlan = CaptureBuilder::VlanTagged;
  const Bytes options = CaptureBuilder::Widened(Patched(good, 14, 0x46), 34, {1, 1, 1, 0});
  const Bytes first_piece = Patched(Patched(good, 20, 0x20), 38, 0x61);
  const Bytes hop_by_hop = {17, 1, 5, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const struct {
    const char* why;
    Bytes frame;
    std::uint32_t wire;  // 0: as long as the frame
    Skip expected;
    std::size_t size;  // of the datagram that is shown as a flow; 0: none
  } rows[] = {
      {"a runt that a filter without a port takes for UDP", head(24), 0, Skip::kTooShort, 0},
      {"one byte of the headers is missing", head(41), 0, Skip::kTooShort, 0},
      {"headers cut off by the snap length", head(30), 1146, Skip::kCut, 0},
      {"payload cut off by the snap length", head(60), 1146, Skip::kCut, 1104},
      {"one byte more than a buffer holds", Frame(1547), 0, Skip::kTooLarge, 1547},
      {"VLAN tag moves the payload", vlan(good), 0, Skip::kVlan, 1104},
      {"two of them", vlan(vlan(good)), 0, Skip::kVlan, 1104},
      {"a tagged datagram to another port", vlan(Frame(9, 2369)), 0, Skip::kOtherPort, 0},
      {"ends within its tag", vlan(head(13)), 0, Skip::kTooShort, 0},
      {"IPv6 to another port", Ipv6(Frame(9, 2369), 17), 0, Skip::kOtherPort, 0},
      {"later fragment: has no ports", Patched(good, 21, 0x01), 0, Skip::kLaterPiece, 0},
      {"first fragment: tells the whole length", first_piece, 0, Skip::kFragment, 0x6158 - 8},
      {"IP options move the payload", options, 0, Skip::kIpOptions, 1104},
      {"a header length below the least", Patched(good, 14, 0x44), 0, Skip::kNotUdp, 0},
      {"ARP", Patched(good, 13, 0x06), 0, Skip::kNotUdp, 0},
      {"TCP", CaptureBuilder::Frame({}, 2368, 6), 0, Skip::kNotUdp, 0},
      {"another sensor's port", Frame(1104, 2369), 0, Skip::kOtherPort, 0},
      {"another sensor", Patched(good, 29, 201), 0, Skip::kOtherSource, 0},
      {"IPv6", Ipv6(good, 17), 0, Skip::kIpv6, 1104},
      {"IPv6 options before UDP", Ipv6(good, 0, hop_by_hop), 0, Skip::kIpv6, 1104},
      {"the one piece of an IPv6 packet", Ipv6(good, 44, {17, 0, 0, 1, 0, 0, 0, 7}), 0, Skip::kIpv6,
       1104},
  };
  const std::uint32_t sensor = *ParseAddress("192.168.1.200");
  for (const auto& row : rows) {
    CaptureBuilder capture;
    const auto survey = Survey(capture.Record(row.frame, row.wire).Record(good), 2368,
                               row.expected == Skip::kIpv6 ? 0 : sensor);
    EXPECT_EQ(survey.Skipped(row.expected), 1U) << row.why;
    std::map<std::optional<Skip>, std::size_t> sizes;
    for (const Flow& flow : survey.flows) sizes[flow.hindrance] = flow.sizes.begin()->first;
    std::map<std::optional<Skip>, std::size_t> expected = {{std::nullopt, 1104}};
    if (row.size > 0) expected[row.expected] = row.size;
    EXPECT_EQ(sizes, expected) << row.why;
  }
  EXPECT_EQ(FitText(Survey(CaptureBuilder().Record(Ipv6(good, 17))).flows.at(0)),
            "juniq, but by IPv6");
  const auto cooked = Survey(CaptureBuilder(65535, 113).Record(good));
  EXPECT_EQ(cooked.Skipped(Skip::kOtherLinkType), 1U) << "never read as Ethernet";
  EXPECT_TRUE(cooked.flows.empty());
}

TEST(CaptureSurvey, LeavesOutOnlyFramesThatAreClearlyNotWhole) {
  const struct {
    const char* why;
    std::vector<std::uint64_t> packets;  // of each frame
    int first, last;
    const char* model = "juniq";
    const char* remark = "";  // how it begins
  } rows[] = {
      {"begins with a frame's first packet", {768, 768, 768, 0}, 0, 3},
      {"begins one packet later", {767, 768, 768, 0}, 1, 3},
      {"lost as many as another frame", {760, 768, 760, 768, 9}, 0, 4},
      {"a frame that lost more than a tenth is no measure", {500, 768, 20, 768, 0}, 1, 4},
      {"a single mark: what follows it is a part of a frame", {300, 301}, 1, 1},
      {"no mark at all", {56}, 0, 0, "corvik"},
      {"ends with a frame's last packet", {1, 56, 55, 55}, 1, 4, "corvik"},
      {"one mark behind a part of a frame", {55, 56}, 1, 2, "kelvane"},
      {"or before it", {56, 55}, 0, 1, "kelvane"},
      {"nine tenths of a fixed number and less", {51, 50}, 0, 1, "corvik"},
      {"packets of two sensors", {27, 27, 28, 2, 28, 27}, 1, 5, "corvik", "2 of 6 frames ar"},
      {"marks were lost", {200, 100, 151, 100, 150, 0}, 0, 5, "juniq", "frames 0, 2 have"},
      {"a counter that fell bounds no frame", {9, 9, 9}, 0, 0, "brantis"},
  };
  for (const auto& row : rows) {
    std::vector<FrameRecords> frames(row.packets.size());
    for (std::size_t i = 0; i < frames.size(); ++i) frames[i].packets = row.packets[i];
    const Model& model = *lidar::FindSensorModel(row.model);
    const auto whole = FindWholeFrames(frames, model);
    EXPECT_EQ(whole.first, row.first) << row.why;
    EXPECT_EQ(whole.last, row.last) << row.why;
    const std::string remark = TornText(frames, model) + JoinedText(frames, model);
    EXPECT_EQ(remark.substr(0, 16), row.remark) << row.why;
  }
}

TEST(CaptureSurvey, NumbersFramesAsTheDriverDoes) {
  const test::JuniqPacket plain;
  const auto mark = [&](std::size_t block) {
    return test::JuniqPacket().Block(block, test::kMarker);
  };
  const Bytes foreign(10), cut = CaptureBuilder::Frame(Bytes(20), 2368);
  const CaptureBuilder captures[] = {
      CaptureBuilder().Udp(plain).Udp(mark(63)).Udp(plain).Udp(mark(5)),
      CaptureBuilder().Udp(mark(63)).Udp(plain).Udp(mark(0)).Udp(plain),
      CaptureBuilder().Udp(foreign).Udp(mark(9)).Udp(mark(9)),
      CaptureBuilder().Record(cut, 1146).Udp(mark(9)).Udp(plain),
      CaptureBuilder().Record(CaptureBuilder::VlanTagged(cut)).Udp(mark(9)).Udp(plain),
      CaptureBuilder().Udp(foreign, 9).Udp(mark(9)).Udp(plain),
  };
  for (const CaptureBuilder& capture : captures) {
    const test::TempDir dir;
    test::Playback<Point> playback;
    EXPECT_EQ(Survey(capture, 2368, 0, lidar::FindSensorModel("juniq")).frames.size(),
              static_cast<std::size_t>(playback.Open(capture.Write(dir / "c.pcap"))))
        << "capture " << &capture - &captures[0];
  }
}

/// The number by which a model's frames are bounded stands at `offset`, the low byte.
Bytes Numbered(const Model& model, std::size_t offset, unsigned number) {
  Bytes packet(model.packet_bytes);
  std::copy_n(model.identifier.begin(), model.identifier_bytes, packet.begin());
  packet[offset] = static_cast<std::uint8_t>(number);
  return packet;
}

/// Two sensors of one model whose packets alternate, the second one a little later.
TEST(CaptureSurvey, FollowsTheFramesOfEachFlowByItselfAndOfAllAsTheDriver) {
  const struct {
    const char* model;
    std::size_t offset;
    std::vector<unsigned> numbers;
    std::vector<std::uint64_t> packets;  // of the frames of each flow; 0 when falsely bound
    std::vector<unsigned> late;          // of the second sensor
  } rows[] = {
      {"corvik", 24, {30, 55, 0, 1, 55, 0, 0}, {2, 3, 2}, {8, 9, 1, 2, 3, 0, 1}},
      {"corvik", 24, {28, 0, 27, 0, 56, 0}, {1, 0, 0, 0}, {}},
      {"kelvane", 5, {1, 2, 12, 1, 5, 12, 1}, {3, 3, 1}, {20, 29, 38, 3, 4, 12, 1}},
      {"brantis", 26, {5, 10, 20, 3, 10, 20, 4}, {3, 4}, {9, 8, 8, 9}},
      {"hestra", 24, {3, 2, 1}, {3}, {2, 1, 0}},
  };
  for (const auto& row : rows) {
    const Model& model = *lidar::FindSensorModel(row.model);
    CaptureBuilder capture;
    for (std::size_t i = 0; i < row.numbers.size(); ++i) {
      capture.Udp(Numbered(model, row.offset, row.numbers[i]));
      if (i >= row.late.size()) continue;
      const Bytes late = Numbered(model, row.offset, row.late[i]);
      capture.Record(Patched(CaptureBuilder::Frame(late, 2368), 29, 201));
    }
    const auto survey = Survey(capture, 2368, 0, &model);
    std::vector<std::uint64_t> packets;
    const auto& frames = survey.flows.at(0).frames;
    for (const auto& frame : frames) packets.push_back(frame.falsely_bound ? 0 : frame.packets);
    EXPECT_EQ(packets, row.packets) << row.model;
    const test::TempDir dir;
    test::Playback<Point> playback;
    const auto param = playback.Param(capture.Write(dir / "c.pcap"), "", model.type);
    EXPECT_EQ(survey.frames.size(), playback.Open(param)) << row.model;
  }
}

TEST(CaptureSurvey, HintsAtTheModelThatAPacketsContentLooksLike) {
  for (const char* const name : {"glavor", "fennix", "corvik", "brantis", "hestra"}) {
    const test::SimulatedCapture sensor(4, {}, name);
    const Model& model = *lidar::FindSensorModel(name);
    const auto survey = SurveyCapture(sensor.capture, {}, {});
    EXPECT_EQ(survey.flows.at(0).hints.Find().model, &model) << name;
    const auto advice = WhyNothingFits(survey, {}, lidar::FindSensorModel("juniq"));
    EXPECT_NE(advice.find(std::string("try --model ") + name), std::string::npos) << advice;
    for (const Model& other : lidar::SensorModels()) {
      if (other.packet_bytes != model.packet_bytes) continue;
      EXPECT_EQ(OtherModelText(survey, other).empty(), &other == &model) << name << other.name;
    }
  }
  std::mt19937 random(1);
  const Bytes corvik = test::SimulatedCapture(1, {}, "corvik").packets[0];
  ModelHints blocks, noise, lines, leaps, undated, few;
  const auto add = [](ModelHints& hints, const Bytes& packet) {
    hints.Add(packet.data(), packet.size());
  };
  for (unsigned i = 0; i < 100; ++i) {
    for (const std::size_t size : {1236, 1360}) {
      Bytes packet = test::JuniqPacket().payload();
      packet.resize(size);
      std::generate(packet.begin() + 8, packet.end(), [&] { return random() & 0xFFU; });
      add(size == 1236 ? noise : blocks, packet);
    }
    add(lines, Patched(corvik, 24, 56));  // one more than the sensor has
    const Model& brantis = *lidar::FindSensorModel("brantis");
    add(leaps, Numbered(brantis, 26 + i / 2 % 2, i));
    add(undated, Patched(Numbered(brantis, 26, i), 24, static_cast<std::uint8_t>(i % 56)));
    add(few, Patched(Numbered(brantis, 26, i / 40), 99, 1));  // two steps, as damage makes
    if (i % 2 == 0) add(blocks, corvik);
  }
  for (const auto* const hints : {&blocks, &noise, &lines, &leaps, &undated, &few}) {
    EXPECT_EQ(hints->Find().model, nullptr);
  }
  EXPECT_NE(blocks.FindLike(*lidar::FindSensorModel("corvik")).model, nullptr);
}

TEST(CaptureSurvey, DescribesAFlowByAddressesSizesAndFittingModels) {
  CaptureBuilder capture;
  for (const std::size_t size : {1236, 1236, 0}) capture.Record(Frame(size));
  const auto survey = Survey(capture.Record(Frame(1104, 2369)));
  EXPECT_DOUBLE_EQ(survey.Duration(), 3.0);
  ASSERT_EQ(survey.flows.size(), 2U);
  const Flow& flow = survey.flows[0];
  EXPECT_EQ(DottedAddress(flow.destination), "192.168.1.102");
  EXPECT_EQ(flow.sizes, (std::map<std::size_t, std::uint64_t>{{0, 1}, {1236, 2}}));
  EXPECT_EQ(HexBytes(flow.first_bytes.data(), flow.first_bytes.size()), "EE FF 01 FF FF FF FF FF");
  EXPECT_EQ(FitText(flow), "corvik, brantis or hestra (2 of 3)");
  EXPECT_EQ(FitText(survey.flows[1]), "juniq");
  EXPECT_EQ(FittingPort(survey, *lidar::FindSensorModel("juniq")), 2369);
}

}  // namespace
}  // namespace orliq::cli
