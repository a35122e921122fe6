// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/ScanningSensor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "support/SimulatedDecoding.h"

namespace orliq::sim {
namespace {

using Tables = std::vector<CheckTable>;

Vec3 CalibratedBeam(const Tables& tables, std::uint32_t position, std::uint64_t /*frame*/) {
  return DirectionOf(-double{tables[0].values[position]}, tables[1].values[position]);
}

Vec3 CorvikBeam(const Tables& /*tables*/, std::uint32_t position, std::uint64_t /*frame*/) {
  const std::uint32_t line = position / 192;
  return DirectionOf(std::trunc(6000.0 - 62.5 * (position % 192)) / 100.0,
                     std::trunc(1500.0 - 53.5714286 * line) / 100.0);
}

Vec3 KelvaneBeam(const Tables& /*tables*/, std::uint32_t position, std::uint64_t frame) {
  static constexpr double kFace[] = {0.0, -0.02, 0.02, 0.03};  // [deg]
  const std::uint32_t column = position / 520;
  return DirectionOf(60.0 - 0.2 * column, -13.0 + 0.05 * (position % 520) + kFace[frame % 4]);
}

/// A sensor and how it scans, worked out anew.
struct Scan {
  const char* model;
  std::size_t cycle;
  std::uint64_t frame;  // this one and the next, which for Kelvane are different faces
  std::size_t beams;
  std::size_t records;    // of each beam in a frame
  std::size_t row_beams;  // positions of a ring
  double far;             // [m]
  double quantum;         // [m]
  double angle_cut;       // [rad] what the decoder leaves of an angle that is no whole hundredth
  Vec3 (*beam)(const Tables& tables, std::uint32_t position, std::uint64_t frame);
};
void PrintTo(const Scan& scan, std::ostream* out) {
  *out << scan.model << " cycle " << scan.cycle;
}

/// What a frame holds, all in all.
struct Tally {
  std::map<std::uint32_t, std::size_t> records;  // by position
  std::set<unsigned> intensities;
  std::map<double, unsigned> false_returns;  // intensity by range, of one reflectivity

  void Add(const Point& point, const BeamTruth& truth) {
    ++records[truth.position];
    intensities.insert(point.intensity);
    if (truth.is_false) false_returns[truth.range_m] = point.intensity;
  }
};

class ScanTest : public testing::TestWithParam<Scan> {
 protected:
  ScanTest() {
    options_.cycle_packets = scan_.cycle;
    options_.radius_filter = false;  // it would take beams away
  }

  std::vector<std::vector<std::uint8_t>> Payloads(std::uint64_t seed, std::uint64_t before) {
    options_.seed = seed;
    const auto sensor = MakeSensor(scan_.model, options_);
    const SceneView moving(*scene_);
    const auto room = MakeScene("boxes");
    sensor->EncodeFrame({*room, {{0.1 * static_cast<double>(before), 0, 0}}}, before);
    std::vector<std::vector<std::uint8_t>> payloads;
    for (Packet& packet : sensor->EncodeFrame(*room, 8)) payloads.push_back(packet.payload);
    sensor->EncodeFrame(moving, before);
    for (Packet& packet : sensor->EncodeFrame(moving, 8)) payloads.push_back(packet.payload);
    return payloads;
  }

  void ExpectPoint(const Point& point, const BeamTruth& truth, const Vec3& beam) const {
    const bool by_row = scan_.row_beams > 0;
    ASSERT_EQ(point.ring, by_row ? truth.position / scan_.row_beams : truth.position % 520);
    const double single_precision = 4e-7 * truth.range_m;
    const double slack = truth.measured ? scan_.quantum / 2 + single_precision : 0.0;
    const double aside = slack + scan_.angle_cut * truth.range_m;
    ASSERT_NEAR(std::hypot(double{point.x}, point.y, point.z), truth.range_m, slack);
    ASSERT_NEAR(point.x, truth.range_m * beam.x, aside);
    ASSERT_NEAR(point.y, truth.range_m * beam.y, aside);
    ASSERT_NEAR(point.z, truth.range_m * beam.z, aside);
    ASSERT_EQ(point.intensity > 0, truth.measured);
  }

  void ExpectTruth(const BeamTruth& truth, const Vec3& beam, double time_s) const {
    if (truth.is_false) return;
    const double range = scene_->Cast({}, beam, time_s - options_.start_time_s).range_m;
    ASSERT_NEAR(truth.range_m, range <= scan_.far ? range : 0.0, 1e-5) << truth.position;
  }

  void ExpectWholeScan(const Tally& tally) const {
    ASSERT_EQ(tally.records.size(), scan_.beams);
    ASSERT_EQ(tally.records.rbegin()->first, scan_.beams - 1);
    for (const auto& beam : tally.records) ASSERT_EQ(beam.second, scan_.records) << beam.first;
    EXPECT_GT(tally.intensities.size(), 50U);
    const auto& returns = tally.false_returns;
    EXPECT_TRUE(std::is_sorted(returns.begin(), returns.end(), [](auto& near, auto& far) {
      return near.second > far.second;
    })) << "farther, never brighter";
    const auto points = static_cast<double>(scan_.beams * scan_.records);
    EXPECT_NEAR(static_cast<double>(returns.size()), 0.1 * points, 0.01 * points);
  }

  const Scan& scan_ = GetParam();
  SensorOptions options_;
  std::unique_ptr<Scene> scene_ = MakeScene("moving-box");
};

// The ranges are those that the decoder finds, whose corrections the simulator has to undo.
TEST_P(ScanTest, AFrameIsTheSceneBeamByBeamToHalfAQuantum) {
  options_.faults = {0.0, 0.1};
  const auto sensor = MakeSensor(scan_.model, options_);
  const Tables tables = sensor->Tables();
  const auto& truths = dynamic_cast<ScanningSensor&>(*sensor).Truth();
  for (const std::uint64_t frame : {scan_.frame, scan_.frame + 1}) {
    const auto packets = sensor->EncodeFrame(*scene_, frame);
    test::SimulatedDecoding<Point> decoding(scan_.model, *sensor);
    decoding.Decode(packets);
    const auto& points = decoding.cloud->points;
    ASSERT_EQ(points.size(), scan_.beams * scan_.records);
    ASSERT_EQ(truths.size(), points.size()) << "the frame before is forgotten";
    Tally tally;
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Vec3 beam = scan_.beam(tables, truths[i].position, frame);
      ExpectPoint(points[i], truths[i], beam);
      ExpectTruth(truths[i], beam, packets[i * packets.size() / points.size()].time_s);
      if (HasFatalFailure()) FAIL() << "point " << i;
      tally.Add(points[i], truths[i]);
    }
    ExpectWholeScan(tally);
  }
}

TEST_P(ScanTest, BytesFollowFromTheSeedAlone) {
  options_.faults = {0.02, 0.01};
  const auto bytes = Payloads(1, 7);
  EXPECT_EQ(bytes, Payloads(1, 2)) << "whatever was encoded before";
  EXPECT_NE(bytes, Payloads(2, 7));
}

constexpr double kCut = 2 * 0.01 * 3.1415927 / 180.0;  // both angles, to whole hundredths
constexpr double kCount = 1.645 / 64.0;                // [ns] step of the time of flight
INSTANTIATE_TEST_SUITE_P(
    Models, ScanTest,
    testing::Values(Scan{"juniq", 2, 300, 49152, 1, 256, 230, 0.14989623 * kCount, kCut,
                         CalibratedBeam},
                    Scan{"glavor", 2, 300, 49152, 1, 256, 230, 0.15 * kCount, kCut, CalibratedBeam},
                    Scan{"corvik", 2, 300, 10752, 1, 192, 230, 0.009375, 0, CorvikBeam},
                    Scan{"kelvane", 2, 300, 312000, 1, 0, 327.675, 0.005, 0, KelvaneBeam},
                    Scan{"kelvane", 4, 302, 312000, 2, 0, 327.675, 0.005, 0, KelvaneBeam}));

}  // namespace
}  // namespace orliq::sim
