// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "decoder/DecoderFactory.h"
#include "multi_driver/SensorModels.h"
#include "param/ParamService.h"

namespace orliq::lidar {
namespace {

using Cloud = PointCloud<PointSource>;

/// Memory whose last byte is followed by a page that nobody may read.
class BytesAtTheEdge {
 public:
  BytesAtTheEdge() : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    base_ = static_cast<std::uint8_t*>(
        mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(base_ + page_, page_, PROT_NONE);
  }
  ~BytesAtTheEdge() { munmap(base_, 2 * page_); }
  BytesAtTheEdge(const BytesAtTheEdge&) = delete;
  BytesAtTheEdge& operator=(const BytesAtTheEdge&) = delete;

  /// The last `size` bytes before the edge.
  std::uint8_t* Last(std::size_t size) { return base_ + page_ - size; }

 private:
  std::size_t page_;
  std::uint8_t* base_;
};

class HostileBytes : public testing::TestWithParam<SensorModel> {
 protected:
  HostileBytes() {
    testing::internal::CaptureStdout();  // one line for each refused packet
    DecoderParam param;
    param.min_distance = -1e9F;
    param.max_distance = 1e9F;
    param.min_azimuth = param.min_elevation = -1e9F;
    param.max_azimuth = param.max_elevation = 1e9F;
    param.transform_param = {1, 1, 2, 3, 4, 5, 6};
    decoder_ = DecoderFactory<Cloud>::CreateDecoder(model_.type, param);
    decoder_->RegisterCallBack([](const Error&) {},
                               [this](const std::uint16_t&, const double&) { NewCloud(); });
    decoder_->RegisterIMUCallBack([] {});
    decoder_->InstallImuMsg(std::make_shared<ImuMsg>());
    NewCloud();
  }
  ~HostileBytes() override { testing::internal::GetCapturedStdout(); }

  void NewCloud() { decoder_->InstallCloud(std::make_shared<Cloud>()); }

  /// A packet of random content behind the identifier; `size` bytes of it.
  const std::uint8_t* Random(std::size_t size) {
    std::uint8_t* const bytes = memory_.Last(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(random_());
    std::memcpy(bytes, model_.identifier.data(), std::min<std::size_t>(size, 8));
    return bytes;
  }

  SensorModel model_ = GetParam();
  std::shared_ptr<Decoder<Cloud>> decoder_;
  BytesAtTheEdge memory_;
  std::mt19937 random_{11};
};

TEST_P(HostileBytes, APacketOfAnyLengthIsRefusedUnlessItIsTheModels) {
  std::uint16_t start = 77;
  for (std::size_t size = 0; size <= model_.packet_bytes + 1U; ++size) {
    const std::uint8_t* const packet = Random(size);
    NewCloud();
    const auto cloud = decoder_->CurrentCloud();
    const bool whole = size == model_.packet_bytes;
    decoder_->ProcessMsopPacket(packet, size, 0);
    decoder_->toSplite(packet, size, start);
    ASSERT_TRUE(whole || cloud->points.empty()) << size;
    if (size >= model_.packet_bytes) continue;
    // As no driver calls them, but whoever holds a decoder may.
    ASSERT_FALSE(decoder_->DecodeMsopPacket(packet, size, 0)) << size;
    ASSERT_FALSE(decoder_->SplitFrame(packet, size, start)) << size;
    ASSERT_EQ(decoder_->CurrentCloud(), cloud) << "no frame either";
    ASSERT_TRUE(cloud->points.empty()) << size;
  }
  EXPECT_FALSE(decoder_->DecodeMsopPacket(nullptr, model_.packet_bytes, 0));
  EXPECT_FALSE(decoder_->SplitFrame(nullptr, model_.packet_bytes, start));
  decoder_->UpdateCheckParam(nullptr);
}

TEST_P(HostileBytes, WithoutACloudPointsAreDropped) {
  for (int i = 0; i < 100; ++i) {
    Random(model_.packet_bytes);
    std::uint8_t* const packet = memory_.Last(model_.packet_bytes);
    if (model_.frame_mark == FrameMark::Last) {
      packet[25] = 0x7F;
      packet[26] = 0xBF;
    }
    decoder_->InstallCloud(nullptr);
    decoder_->ProcessMsopPacket(packet, model_.packet_bytes, 0);
  }
  EXPECT_EQ(decoder_->Counts().decoded.Value(), 100U);
}

TEST_P(HostileBytes, AnyContentDecodesToFinitePointsFromAnyStart) {
  ParamService tables;
  if (model_.needs_tables) {
    const float bad[] = {std::nanf(""), std::numeric_limits<float>::infinity(), -1e30F, 3e38F};
    auto* const check = static_cast<AngleCheckParam*>(tables.GetCheckParam(model_.type));
    for (std::size_t i = 0; i < kBeamPositions; ++i) {
      check->azimuth[i] = bad[random_() % 4];
      check->elevation[i] = bad[random_() % 4];
    }
    decoder_->UpdateCheckParam(check);
  }
  for (unsigned start = 0; start < 0x10000; ++start) {
    // The places after the blocks are all alike: the same bytes will do for some of them.
    if (start <= 300 || start % 64 == 0) Random(model_.packet_bytes);
    if (start % 1024 == 0) NewCloud();
    const std::uint8_t* const packet = memory_.Last(model_.packet_bytes);
    const auto cloud = decoder_->CurrentCloud();
    const std::size_t before = cloud->points.size();
    decoder_->ProcessMsopPacket(packet, model_.packet_bytes, static_cast<std::uint16_t>(start));
    ASSERT_LE(cloud->points.size() - before, model_.blocks) << start;
    for (std::size_t i = before; i < cloud->points.size(); ++i) {
      const PointSource p = cloud->points[i];
      ASSERT_TRUE(std::isfinite(p.x + p.y + p.z)) << start;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Model, HostileBytes, testing::ValuesIn(SensorModels()),
                         [](const auto& model) { return std::string(model.param.name); });

}  // namespace
}  // namespace orliq::lidar
