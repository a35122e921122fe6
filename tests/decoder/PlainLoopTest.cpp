// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "bench/plain/Models.h"
#include "decoder/LoopForm.h"

namespace orliq::lidar {
namespace {

class Dice {
 public:
  unsigned Below(unsigned limit) { return static_cast<unsigned>(bits_() % limit); }
  float Real(float low, float high) {
    return OrHostile(std::uniform_real_distribution<float>(low, high)(bits_));
  }
  /// Now and then what no calibration should hold.
  float OrHostile(float value) {
    constexpr float kInf = std::numeric_limits<float>::infinity();
    const float hostile[] = {std::nanf(""), kInf, -kInf, 1e30F, -180.005F, 450.0F, -0.0F};
    return Below(64) == 0 ? hostile[Below(7)] : value;
  }

 private:
  std::mt19937 bits_{7};
};

void Fill(CheckParam& /*no tables*/, Dice& /*dice*/) {}
void Fill(AngleCheckParam& check, Dice& dice) {
  const float vectors[] = {0.01F, 0.002F, -0.003F, 0.04F,  // weight, then near_filter
                           9e6F,  60.0F,  3e6F,    10.0F, 0, 0, 0, 0.02F, -0.03F};
  for (std::size_t i = 0; i < 4; ++i) check.weight[i] = dice.OrHostile(vectors[i]);
  for (std::size_t i = 0; i < 9; ++i) check.near_filter[i] = dice.OrHostile(vectors[4 + i]);
  for (std::size_t i = 0; i < kBeamPositions; ++i) {
    check.azimuth[i] = dice.Real(-60, 60);
    check.elevation[i] = dice.Real(-25, 15);
  }
}
void Fill(OffsetCheckParam& check, Dice& dice) {
  Fill(static_cast<AngleCheckParam&>(check), dice);
  for (std::size_t i = 0; i < kBeamPositions; ++i) check.offset[i] = dice.Real(-0.5F, 0.5F);
}

/// Brings a random block nearer to what is measured: ranges mostly below 260 m, pulse ratios about 1, a
/// divisor of 0 and a frame mark now and then.
void TameBlock(std::uint8_t* block, std::size_t tof, std::size_t width, Dice& dice) {
  if (dice.Below(8) != 0) block[tof + 2] = 0;
  block[width + 2] &= 1;
  if (dice.Below(16) == 0) block[2] = block[3] = 0;
  if (dice.Below(256) == 0) std::memcpy(block, "\x7F\xBF", 2);
}
void Tame(bench::Juniq /*model*/, std::uint8_t* packet, Dice& dice) {
  for (std::size_t i = 0; i < 64; ++i) TameBlock(packet + 25 + 16 * i, 6, 12, dice);
}
void Tame(bench::Glavor /*model*/, std::uint8_t* packet, Dice& dice) {
  for (std::size_t i = 0; i < 32; ++i) TameBlock(packet + 25 + 40 * i, 9, 18, dice);
}
void Tame(bench::Corvik /*model*/, std::uint8_t* /*packet*/, Dice& /*dice*/) {}
void Tame(bench::Kelvane /*model*/, std::uint8_t* packet, Dice& dice) {
  packet[8] = static_cast<std::uint8_t>(dice.Below(2) * packet[8]);                // cycle mode
  packet[27] = static_cast<std::uint8_t>(dice.Below(6));                           // face
  if (dice.Below(2) == 0) packet[24] = static_cast<std::uint8_t>(dice.Below(24));  // azimuth
}

/// A decoder that runs in one form only.
template <typename Model, typename P>
class Decoding {
 public:
  Decoding(const DecoderParam& param, typename Model::Check& check, bool portable)
      : portable_(portable), decoder_(param) {
    decoder_.UpdateCheckParam(&check);
    decoder_.InstallCloud(cloud_);
    decoder_.RegisterCallBack({}, [](const std::uint16_t&, const double&) {});
  }

  const std::vector<P>& Decode(const std::vector<std::uint8_t>& packet, std::size_t start) {
    cloud_->points.clear();
    LoopForm::ForcePortable(portable_);
    decoder_.ProcessMsopPacket(packet.data(), packet.size(), static_cast<std::uint16_t>(start));
    LoopForm::ForcePortable(false);
    return cloud_->points;
  }

 private:
  bool portable_;
  typename Model::template Decoder<P> decoder_;
  std::shared_ptr<PointCloud<P>> cloud_ = std::make_shared<PointCloud<P>>();
};

template <typename P>
void ExpectSameBits(const std::vector<P>& points, const std::vector<P>& expected) {
  ASSERT_EQ(points.size(), expected.size());
  if (expected.empty()) return;
  EXPECT_EQ(std::memcmp(&points[0], &expected[0], expected.size() * sizeof(P)), 0);
}

/// Returns how many points were placed elsewhere than at the origin.
template <typename Model, typename P>
int ExpectBitsOfPlainLoop(const DecoderParam& limits, Dice& dice) {
  const auto check = std::make_unique<typename Model::Check>();
  Fill(*check, dice);
  typename Model::template Plain<P> plain(*check, limits);
  DecoderParam moved = limits;
  moved.transform_param = {1, 1, -2, 3, 4, -5, 60};
  Decoding<Model, P> wide(limits, *check, false), portable(limits, *check, true);
  Decoding<Model, P> wide_moved(moved, *check, false), portable_moved(moved, *check, true);
  const DecoderConstParam facts = Model::template Decoder<P>::GetConstParam();
  int placed = 0;
  for (int i = 0; i < 80; ++i) {
    std::vector<std::uint8_t> packet(facts.MSOP_LEN);
    for (std::uint8_t& byte : packet) byte = static_cast<std::uint8_t>(dice.Below(256));
    Tame(Model(), packet.data(), dice);
    std::memcpy(packet.data(), facts.MSOP_ID.data(), facts.MSOP_ID_LEN);
    const std::size_t start = dice.Below(4) == 0 ? dice.Below(facts.BLOCKS_PER_PKT + 2U) : 0;
    std::vector<P> expected;
    plain.Decode(packet.data(), start, expected);
    ExpectSameBits(wide.Decode(packet, start), expected);
    ExpectSameBits(portable.Decode(packet, start), expected);
    ExpectSameBits(wide_moved.Decode(packet, start), portable_moved.Decode(packet, start));
    for (const P& p : expected) placed += p.x > 0.0F ? 1 : 0;
  }
  return placed;
}

template <typename Model>
class PlainLoopTest : public testing::Test {};
using Models = testing::Types<bench::Juniq, bench::Glavor, bench::Corvik, bench::Kelvane>;
TYPED_TEST_SUITE(PlainLoopTest, Models, );

TYPED_TEST(PlainLoopTest, GivesTheBitsOfTheDecoder) {
  const DecoderParam narrow = {0.5F, 100.0F, -50.0F, 40.0F, -10.0F, 12.0F, {}};
  Dice dice;
  int placed = 0;
  for (const DecoderParam& limits : {DecoderParam(), narrow, DecoderParam(), narrow}) {
    placed += ExpectBitsOfPlainLoop<TypeParam, Point>(limits, dice);
    placed += ExpectBitsOfPlainLoop<TypeParam, PointTime>(limits, dice);
    placed += ExpectBitsOfPlainLoop<TypeParam, PointSource>(limits, dice);
    placed += ExpectBitsOfPlainLoop<TypeParam, JuniqPoint>(limits, dice);
  }
  EXPECT_GT(placed, 10000);
}

struct Nothing {
  ORLIQ_LOOP_STEP static void Run() {}
};

TEST(LoopForms, TheWideOneRunsWhereTheProcessorHasItUnlessThePortableOneIsForced) {
#if ORLIQ_HAS_WIDE_FORM
  const auto best = __builtin_cpu_supports("avx2") ? &RunWide<Nothing> : &RunPortable<Nothing>;
#else
  const auto best = &RunPortable<Nothing>;
#endif
  EXPECT_EQ(ChooseForm<Nothing>(), best);
  LoopForm::ForcePortable(true);
  EXPECT_EQ(ChooseForm<Nothing>(), &RunPortable<Nothing>);
  LoopForm::ForcePortable(false);
  EXPECT_EQ(ChooseForm<Nothing>(), best);
}

}  // namespace
}  // namespace orliq::lidar
