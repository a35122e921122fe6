// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureSurvey.h"

#include <gtest/gtest.h>

#include "orliq/capture/SurveyText.h"
#include "support/CaptureBuilder.h"
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

CaptureSurvey Survey(const CaptureBuilder& capture, std::uint16_t port = 0) {
  const test::TempDir dir;
  return SurveyCapture(capture.Write(dir / "c.pcap"), port, {});
}

TEST(CaptureSurvey, NamesTheReasonForEveryRecordThatCannotBePlayed) {
  const Bytes good = Frame(1104);
  const auto head = [&](std::ptrdiff_t size) { return Bytes(good.begin(), good.begin() + size); };
  const struct {
    const char* why;
    Bytes frame;
    std::uint32_t wire;  // 0: as long as the frame
    Skip expected;
  } rows[] = {
      {"a runt that a filter without a port takes for UDP", head(24), 0, Skip::kTooShort},
      {"one byte of the headers is missing", head(41), 0, Skip::kTooShort},
      {"headers cut off by the snap length", head(30), 1146, Skip::kCut},
      {"payload cut off by the snap length", head(60), 1146, Skip::kCut},
      {"one byte more than a buffer holds", Frame(1547), 0, Skip::kTooLarge},
      {"VLAN tag moves the payload", Patched(good, 12, 0x81), 0, Skip::kVlan},
      {"IPv6", Patched(Patched(good, 12, 0x86), 13, 0xDD), 0, Skip::kIpv6},
      {"later fragment: has no ports", Patched(good, 21, 0x01), 0, Skip::kFragment},
      {"IP options move the payload", Patched(good, 14, 0x46), 0, Skip::kIpOptions},
      {"ARP", Patched(good, 13, 0x06), 0, Skip::kNotUdp},
      {"another sensor's port", Frame(1104, 2369), 0, Skip::kOtherPort},
  };
  for (const auto& row : rows) {
    const auto survey = Survey(CaptureBuilder().Record(row.frame, row.wire).Record(good), 2368);
    EXPECT_EQ(survey.Skipped(row.expected), 1U) << row.why;
    ASSERT_EQ(survey.flows.size(), 1U) << row.why;
    EXPECT_EQ(survey.flows[0].packets, 1U) << row.why;
  }
  const auto cooked = Survey(CaptureBuilder(65535, 113).Record(good));
  EXPECT_EQ(cooked.Skipped(Skip::kOtherLinkType), 1U) << "never read as Ethernet";
  EXPECT_TRUE(cooked.flows.empty());
}

TEST(CaptureSurvey, DescribesAFlowByAddressesSizesAndFittingModels) {
  CaptureBuilder capture;
  for (const std::size_t size : {1236, 1236, 0}) capture.Record(Frame(size));
  const auto survey = Survey(capture.Record(Frame(1104, 2369)));
  EXPECT_EQ(survey.records, 4U);
  EXPECT_DOUBLE_EQ(survey.Duration(), 3.0);
  ASSERT_EQ(survey.flows.size(), 2U);
  const Flow& flow = survey.flows[0];
  EXPECT_EQ(DottedAddress(flow.source), "192.168.1.200");
  EXPECT_EQ(DottedAddress(flow.destination), "192.168.1.102");
  EXPECT_EQ(flow.source_port, 2368);
  EXPECT_EQ(flow.port, 2368);
  EXPECT_EQ(flow.sizes, (std::map<std::size_t, std::uint64_t>{{0, 1}, {1236, 2}}));
  EXPECT_EQ(HexBytes(flow.first_bytes.data(), flow.first_bytes.size()), "EE FF 01 FF FF FF FF FF");
  EXPECT_EQ(FitText(flow), "corvik or brantis or hestra (2 of 3)");
  EXPECT_EQ(FitText(survey.flows[1]), "juniq");
  EXPECT_EQ(FittingPort(survey, *lidar::FindSensorModel("juniq")), 2369);
}

}  // namespace
}  // namespace orliq::cli
