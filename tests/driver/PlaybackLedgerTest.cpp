// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <numeric>
#include <random>

#include "support/CaptureBuilder.h"
#include "support/JuniqPacket.h"
#include "support/Playback.h"
#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

using test::Bytes;
using test::CaptureBuilder;
using test::JuniqPacket;

Bytes With(Bytes bytes, std::size_t at, unsigned value) {
  bytes[at] = static_cast<std::uint8_t>(value);
  return bytes;
}

/// A record of each kind that playback tells apart.
struct Kind {
  Bytes record;
  std::uint64_t RecordCounts::*count;
  std::uint64_t DriverStatistics::*fate;  // of those that reach the decoder
  std::uint32_t wire_length = 0;          // 0: as long as the record
  std::uint64_t RecordCounts::*damage = nullptr;
};

constexpr std::size_t kGood = 0;
constexpr std::size_t kLast = 1;  // of a frame, by the mark in its last block

std::vector<Kind> MakeKinds() {
  using R = RecordCounts;
  using D = DriverStatistics;
  const Bytes payload = JuniqPacket({200, 10}).Block(5, {20, 10, 0}).payload();  // 63 with a range
  const auto frame = [](const Bytes& bytes) { return CaptureBuilder::Frame(bytes, 2368); };
  const Bytes good = frame(payload);
  const Bytes end = frame(JuniqPacket().Block(63, test::kMarker).payload());
  const auto head = [&good](std::size_t n) { return Bytes(good.begin(), good.begin() + n); };
  return {{good, &R::packets, &D::decoded},
          {end, &R::packets, &D::decoded},
          {frame(Bytes(1103, 1)), &R::packets, &D::refused_length},
          {With(good, 42, 1), &R::packets, &D::refused_identifier},
          {head(60), &R::packets, &D::refused_length, 1146, &R::cut},
          {frame(Bytes(1547, 1)), &R::packets, &D::refused_length, 0, &R::too_long},
          {CaptureBuilder::Frame(payload, 2368, 6), &R::not_udp, nullptr},
          {CaptureBuilder::VlanTagged(good), &R::not_udp, nullptr},
          {CaptureBuilder::Frame(payload, 2369), &R::other_port, nullptr},
          {With(good, 20, 1), &R::fragments, nullptr},
          {With(good, 21, 1), &R::fragments, nullptr},
          {head(40), &R::too_short, nullptr},
          {With(good, 29, 201), &R::other_source, nullptr},
          {head(42), &R::empty, nullptr}};
}

constexpr std::uint64_t RecordCounts::*kForeign[] = {
    &RecordCounts::not_udp,   &RecordCounts::other_port,   &RecordCounts::fragments,
    &RecordCounts::too_short, &RecordCounts::other_source, &RecordCounts::empty};

std::uint64_t Foreign(const RecordCounts& counts) {
  return std::accumulate(std::begin(kForeign), std::end(kForeign), std::uint64_t{0},
                         [&](std::uint64_t sum, auto reason) { return sum + counts.*reason; });
}

class PlaybackLedger : public testing::Test {
 protected:
  /// A seeded capture of all kinds that begins with a good packet.
  PlaybackLedger() : kinds_(MakeKinds()), sent_(kinds_.size()) {
    CaptureBuilder capture;
    std::mt19937 random(10);
    for (int i = 0; i < 5000; ++i) {
      const std::size_t dice = i == 0 ? kGood : random() % 40;
      const std::size_t kind = dice < kinds_.size() ? dice : kGood;
      capture.Record(kinds_[kind].record, kinds_[kind].wire_length);
      ++sent_[kind];
      if (kind == kLast) ends_.push_back(i);
    }
    path_ = capture.Write(dir_ / "capture.pcap");
    EXPECT_TRUE(probe_.driver->SetSourceAddress("192.168.1.200"));
  }

  DriverStatistics Statistics() {
    DriverStatistics s;
    EXPECT_TRUE(probe_.driver->GetStatistics(s));
    return s;
  }

  std::uint64_t Sent(std::uint64_t RecordCounts::*count) const {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kinds_.size(); ++i) {
      if (kinds_[i].count == count || kinds_[i].damage == count) sum += sent_[i];
    }
    return sum;
  }
  std::uint64_t Sent(std::uint64_t DriverStatistics::*fate) const {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kinds_.size(); ++i) {
      if (kinds_[i].fate == fate) sum += sent_[i];
    }
    return sum;
  }

  test::TempDir dir_;
  std::string path_;
  std::vector<Kind> kinds_;
  std::vector<std::uint64_t> sent_;  // of each kind
  std::vector<int> ends_;            // the records with a mark
  test::Playback<Point> probe_;
};

TEST_F(PlaybackLedger, EveryRecordIsInOneCount) {
  const int entries = probe_.Open(path_);
  const int marks = static_cast<int>(ends_.size());
  ASSERT_EQ(entries, marks + 1);
  for (int i = 0; i < entries; ++i) ASSERT_NE(probe_.Play(i), nullptr);
  probe_.driver->Stop();
  const DriverStatistics s = Statistics();
  const auto& [indexed, played] = s.capture;
  EXPECT_TRUE(indexed.records == 5000 && indexed.damaged == 0);
  EXPECT_EQ(played.records, indexed.records + marks) << "the packet with a mark is of two frames";
  EXPECT_EQ(indexed.packets, Sent(&RecordCounts::packets));
  EXPECT_EQ(played.packets, indexed.packets + marks);
  for (const auto reason : kForeign) {
    EXPECT_EQ(indexed.*reason, Sent(reason));
    EXPECT_EQ(played.*reason, Sent(reason));
  }
  for (const auto damage : {&RecordCounts::cut, &RecordCounts::too_long}) {
    EXPECT_GT(Sent(damage), 0U);
    EXPECT_TRUE(indexed.*damage == Sent(damage) && played.*damage == Sent(damage));
  }
  EXPECT_EQ(played.records, played.packets + Foreign(played));
  EXPECT_EQ(s.received, played.packets);
  EXPECT_EQ(s.received, s.decoded + s.refused_length + s.refused_identifier);
  EXPECT_EQ(s.decoded, Sent(&DriverStatistics::decoded) + marks);
  EXPECT_EQ(s.refused_length, Sent(&DriverStatistics::refused_length));
  EXPECT_EQ(s.refused_identifier, Sent(&DriverStatistics::refused_identifier));
  EXPECT_EQ(s.returns, 64 * (sent_[kGood] + sent_[kLast])) << "behind its last block there is none";
  EXPECT_EQ(s.gated, sent_[kGood]);
  EXPECT_EQ(s.points, s.returns) << "at the origin";
  EXPECT_TRUE(s.frames == static_cast<std::size_t>(entries) && s.short_frames == s.frames);
  EXPECT_TRUE(s.queued == 0 && s.clock.packets == 0 && s.last_packet_age_s < 0.0);
}

TEST_F(PlaybackLedger, OnlyFramesThatWereAskedForCount) {
  ASSERT_GT(probe_.Open(path_), 3);
  EXPECT_TRUE(Statistics().received_bytes == 0 && Statistics().capture.indexed.records == 5000);
  for (int i = 0; i < 2; ++i) ASSERT_NE(probe_.Play(2), nullptr);
  probe_.driver->Stop();
  const DriverStatistics s = Statistics();
  EXPECT_EQ(s.frames, 2U);
  EXPECT_EQ(s.capture.played.records, 2U * static_cast<unsigned>(ends_[2] - ends_[1] + 1));
  EXPECT_EQ(s.capture.indexed.records, 5000U);
  EXPECT_GE(s.received_bytes, s.decoded * 1104);
}

TEST_F(PlaybackLedger, ADamagedRecordIsTold) {
  std::filesystem::resize_file(path_, std::filesystem::file_size(path_) - 1);
  const int entries = probe_.Open(path_);
  EXPECT_TRUE(Statistics().capture.indexed.damaged == 1 &&
              Statistics().capture.indexed.records == 4999);
  ASSERT_NE(probe_.Play(entries - 1), nullptr);
  EXPECT_EQ(Statistics().capture.played.damaged, 1U);
}

TEST(KelvaneLedger, CountsTheGapsOfAFrameThatIsPlayedAgainAndNoOther) {
  const test::TempDir dir;
  CaptureBuilder capture;
  for (const unsigned sequence : {701, 702, 704, 1}) {
    Bytes packet(1084);
    const unsigned begin[] = {0x55, 0xAA, 0x5A, 0xA5, sequence >> 8, sequence & 0xFF};
    std::copy(std::begin(begin), std::end(begin), packet.begin());
    capture.Udp(packet);
  }
  test::Playback<Point> probe;
  ASSERT_EQ(probe.Open(probe.Param(capture.Write(dir / "c.pcap"), "", LidarType::Kelvane)), 2);
  ASSERT_TRUE(probe.Play(0) != nullptr && probe.Play(0) != nullptr);
  DriverStatistics s;
  ASSERT_TRUE(probe.driver->GetStatistics(s));
  EXPECT_EQ(s.skipped_packets, 2U);
}

}  // namespace
}  // namespace orliq::lidar
