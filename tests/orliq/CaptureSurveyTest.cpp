// SPDX-License-Identifier: Apache-2.0
#include "orliq/CaptureSurvey.h"

#include <gmock/gmock.h>

#include "orliq/CaptureBytes.h"
#include "orliq/ExitCode.h"
#include "orliq/SurveyText.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using test::CaptureBytes;
using test::Patched;
using test::SensorPayload;
using test::UdpFrame;

struct HostileRecord {
  const char* why;
  std::string frame;
  std::size_t wire;  // 0: as long as the frame
  Skip expected;
};

std::vector<HostileRecord> HostileRecords() {
  const std::string good = UdpFrame(SensorPayload(1104));
  return {
      {"a runt that a filter without a port takes for UDP", good.substr(0, 24), 0, Skip::kTooShort},
      {"the port can be read, its end cannot", good.substr(0, 40), 0, Skip::kTooShort},
      {"one byte of the headers is missing", good.substr(0, 41), 0, Skip::kTooShort},
      {"headers cut off by the snap length", good.substr(0, 30), 1146, Skip::kCut},
      {"payload cut off by the snap length", good.substr(0, 60), 1146, Skip::kCut},
      {"offloaded super-frame", UdpFrame(SensorPayload(9000 - 42)), 0, Skip::kTooLarge},
      {"one byte more than a buffer holds", UdpFrame(SensorPayload(1547)), 0, Skip::kTooLarge},
      {"VLAN tag moves the payload", Patched(good, 12, 0x81), 0, Skip::kVlan},
      {"IPv6", Patched(Patched(good, 12, 0x86), 13, 0xDD), 0, Skip::kIpv6},
      {"first fragment: more fragments follow", Patched(good, 20, 0x20), 0, Skip::kFragment},
      {"later fragment: has no ports", Patched(good, 21, 0x01), 0, Skip::kFragment},
      {"IP options move the payload", Patched(good, 14, 0x46), 0, Skip::kIpOptions},
      {"TCP", Patched(good, 23, 6), 0, Skip::kNotUdp},
      {"ARP", Patched(good, 13, 0x06), 0, Skip::kNotUdp},
      {"another sensor's port", UdpFrame(SensorPayload(1104), 2369), 0, Skip::kOtherPort},
  };
}

TEST(CaptureSurvey, NamesTheReasonForEveryRecordThatCannotBePlayed) {
  const test::TempDir dir;
  for (const HostileRecord& record : HostileRecords()) {
    CaptureBytes capture;
    capture.Record(record.frame, record.wire).Record(UdpFrame(SensorPayload(1104)));
    const auto survey = SurveyCapture(capture.Write(dir / "c.pcap"), 2368, {});
    EXPECT_EQ(survey.Skipped(record.expected), 1U) << record.why;
    ASSERT_EQ(survey.flows.size(), 1U) << record.why;
    EXPECT_EQ(survey.flows[0].packets, 1U) << record.why;
  }
}

TEST(CaptureSurvey, DescribesAFlowByAddressesSizesAndFittingModels) {
  const test::TempDir dir;
  CaptureBytes capture;
  capture.Record(UdpFrame(SensorPayload(1236))).Record(UdpFrame(SensorPayload(1236)));
  capture.Record(UdpFrame("")).Record(UdpFrame(SensorPayload(1104), 2369));
  const auto survey = SurveyCapture(capture.Write(dir / "c.pcap"), 0, {});
  EXPECT_EQ(survey.records, 4U);
  EXPECT_DOUBLE_EQ(survey.Duration(), 1.5);
  ASSERT_EQ(survey.flows.size(), 2U);
  const Flow& flow = survey.flows[0];
  EXPECT_EQ(DottedAddress(flow.source), "10.0.0.1");
  EXPECT_EQ(DottedAddress(flow.destination), "10.0.0.2");
  EXPECT_EQ(flow.source_port, 7);
  EXPECT_EQ(flow.port, 2368);
  EXPECT_EQ(flow.sizes, (std::map<std::size_t, std::uint64_t>{{0, 1}, {1236, 2}}));
  EXPECT_EQ(HexBytes(flow.first_bytes.data(), flow.first_bytes.size()), "EE FF 01 FF FF FF FF FF");
  EXPECT_EQ(FitText(flow), "corvik or brantis or hestra (2 of 3)");
  EXPECT_EQ(FitText(survey.flows[1]), "juniq");
  EXPECT_EQ(FittingPort(survey, *FindModel("juniq")), 2369);
}

TEST(CaptureSurvey, ComparesFourIdentifierBytesOfAKelvaneAndEightOfTheOthers) {
  std::string kelvane = test::Bytes({0x55, 0xAA, 0x5A, 0xA5, 9, 9, 9, 9}) + std::string(1076, '\0');
  std::string juniq = SensorPayload(1104);
  const auto fits = [](const char* model, const std::string& payload) {
    return Fits(*FindModel(model), reinterpret_cast<const std::uint8_t*>(payload.data()),
                payload.size());
  };
  EXPECT_TRUE(fits("kelvane", kelvane));
  EXPECT_FALSE(fits("kelvane", Patched(kelvane, 3, 0)));
  EXPECT_TRUE(fits("juniq", juniq));
  EXPECT_FALSE(fits("juniq", Patched(juniq, 7, 0)));
  EXPECT_FALSE(fits("juniq", juniq + '\0'));
}

TEST(CaptureSurvey, OtherLinkTypesAreNeverReadAsEthernet) {
  const test::TempDir dir;
  CaptureBytes cooked(113);
  cooked.Record(UdpFrame(SensorPayload(1104)));
  const auto survey = SurveyCapture(cooked.Write(dir / "c.pcap"), 0, {});
  EXPECT_EQ(survey.Skipped(Skip::kOtherLinkType), 1U);
  EXPECT_TRUE(survey.flows.empty());
}

TEST(CaptureSurvey, CountsTheGoodRecordsOfAFileThatEndsInsideARecord) {
  const test::TempDir dir;
  CaptureBytes capture;
  capture.Record(UdpFrame(SensorPayload(1104))).Record(UdpFrame(SensorPayload(1104)));
  capture.bytes().resize(capture.bytes().size() - 1);
  const auto survey = SurveyCapture(capture.Write(dir / "c.pcap"), 0, {});
  EXPECT_EQ(survey.records, 1U);
  EXPECT_THAT(survey.fault, testing::HasSubstr("truncated"));
}

TEST(CaptureSurvey, HoldsABoundedNumberOfFlows) {
  const test::TempDir dir;
  CaptureBytes scan;
  for (int port = 1; port <= 1200; ++port) scan.Record(UdpFrame("x", port));
  const auto survey = SurveyCapture(scan.Write(dir / "c.pcap"), 0, {});
  EXPECT_EQ(survey.flows.size(), 1000U);
  EXPECT_EQ(survey.in_further_flows, 200U);
}

}  // namespace
}  // namespace orliq::cli
