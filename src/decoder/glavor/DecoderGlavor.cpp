// SPDX-License-Identifier: Apache-2.0
#include "decoder/glavor/DecoderGlavor.h"

#include <cstring>

#include "common/FloatToInt.h"
#include "decoder/BeamTable.h"
#include "decoder/CloudAppend.h"
#include "decoder/FrameMarker.h"
#include "decoder/PointFields.h"
#include "decoder/PulseBatch.h"
#include "decoder/glavor/GlavorModel.h"
#include "param/CheckParam.h"

namespace orliq::lidar {
namespace {

constexpr float METRES_PER_UNIT = 0.15F;  // [m] half the light path of a nanosecond, rounded
constexpr double NO_TIME = 0.0;           // [s] of every frame and point

// Directions of the positions beyond the tables: an even fan of 120 by 90 degrees.
constexpr double FIRST_COLUMN_AZIMUTH = 6000.0;  // [0.01 deg]
constexpr double COLUMN_STEP = 47.05882353;      // [0.01 deg]
constexpr double FIRST_ROW_ELEVATION = 4500.0;   // [0.01 deg]
constexpr double ROW_STEP = 47.120419;           // [0.01 deg]

/// The returns of a packet that are being decoded.
struct GlavorBatch : PulseBatch<GlavorMsop::kBlocks> {
  /// Time of flight to calibrated range. One that is not positive is a range as any other: the gates
  /// normally refuse it.
  ORLIQ_LOOP_STEP void MeasureRange(PulseSetup setup) {
    for (std::size_t i = 0; i < count; ++i) {
      const float raw = RawDistance(tof[i], METRES_PER_UNIT);
      const float ratio = static_cast<float>(width[i]) / static_cast<float>(width_ref[i]);
      const float range = CalibrateDistance(raw, ratio, setup.weights);
      const float strength = static_cast<float>(peak[i]);
      distance[i] = FilterNearNoisePoints(range, strength, setup.noise_filter);
      tag[i] = HeadTag(peak[i], row[i]);
    }
  }
};

}  // namespace

/// Working state and the steps of decoding, in the order in which they run.
template <typename T_PointCloud>
struct DecoderGlavor<T_PointCloud>::Impl {
  using PointType = typename T_PointCloud::PointType;

  explicit Impl(DecoderGlavor* decoder) : owner(decoder) { BuildBeams(); }

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start);
  void CloseFrame();
  void UpdateCheckParam(const AngleCheckParam& param);

  BeamAngles GetAzimuthElevation(std::uint16_t position) const;

  void BuildBeams();
  bool DecodeBlocks(const GlavorMsop& msop, std::size_t start);
  void Append() const;

  DecoderGlavor* owner;
  AngleCheckParam check_param;
  BeamTable beams;            // check_param, ready for decoding
  float weight[4] = {};       // aligned copies of the packed vectors, for the inner loops
  float near_filter[9] = {};  // likewise
  std::uint32_t frame_point_count = 0;
  GlavorBatch batch = {};  // the returns that are being decoded
};

template <typename T_PointCloud>
bool DecoderGlavor<T_PointCloud>::Impl::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                         std::uint16_t start) {
  const auto* const packet = PacketAs<GlavorMsop>(pkt, size);
  if (packet == nullptr) return false;
  const GlavorMsop& msop = *packet;
  const bool marker = DecodeBlocks(msop, start);
  if (marker && owner->split_frame_cb_) {
    if (owner->point_cloud_) StoreFrameHeader(msop, *owner->point_cloud_);
    CloseFrame();
  } else if (frame_point_count > kForcedFramePoints) {
    // Also for a marker that nobody wanted to hear of: calling the missing callback then throws.
    CloseFrame();
  }
  return marker;
}

/// Decodes the blocks from `start` on; true when the frame marker is among them.
template <typename T_PointCloud>
bool DecoderGlavor<T_PointCloud>::Impl::DecodeBlocks(const GlavorMsop& msop, std::size_t start) {
  if (start >= GlavorMsop::kBlocks) return false;
  const OrliqGlavorMsopBlock* const blocks = msop.blocks + start;
  batch.count = GlavorMsop::kBlocks - start;
  const PulseSetup setup = {beams, RangeWeights(weight), NearFilter(near_filter),
                            owner->ActiveTransform(), owner->DistanceLimits()};
  RunLoop<PulseLoop>(blocks, setup, batch);
  owner->CountReturns(batch.count, batch.kept);
  Append();
  frame_point_count += static_cast<std::uint32_t>(batch.count);
  return batch.marker;
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::Impl::Append() const {
  if (!owner->point_cloud_) return;
  AppendPoints(*owner->point_cloud_, batch.count, [&b = batch](std::size_t i) {
    PointType point = b.template PointOf<PointType>(i);
    SetTimestamp(point, NO_TIME);
    SetDistance(point, SaturatingTruncate<std::int32_t>(b.distance[i]));
    return point;
  });
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::Impl::CloseFrame() {
  owner->EndFrame(NO_TIME);
  frame_point_count = 0;
}

/// Direction of a beam position: by the tables, beyond them by an even fan.
template <typename T_PointCloud>
BeamAngles DecoderGlavor<T_PointCloud>::Impl::GetAzimuthElevation(std::uint16_t position) const {
  if (position >= kBeamPositions) {
    const int column = position & 0xFF;
    const int row = position >> 8;
    return {static_cast<int>(FIRST_COLUMN_AZIMUTH - column * COLUMN_STEP),
            static_cast<int>(FIRST_ROW_ELEVATION - row * ROW_STEP)};
  }
  // The azimuth table is stored in the sensor's sense of rotation.
  return {TableAngle(check_param.azimuth[position], -100.0),
          TableAngle(check_param.elevation[position], 100.0)};
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::Impl::UpdateCheckParam(const AngleCheckParam& param) {
  std::memcpy(&check_param, &param, sizeof check_param);
  std::memcpy(weight, &check_param.weight, sizeof weight);
  std::memcpy(near_filter, &check_param.near_filter, sizeof near_filter);
  BuildBeams();
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::Impl::BuildBeams() {
  beams.Fill(
      owner->trigon_, [this](std::uint16_t position) { return GetAzimuthElevation(position); },
      [](std::uint16_t) { return 0.0F; },
      [this](float azimuth, float elevation) { return owner->IsAngleRange(azimuth, elevation); });
}

template <typename T_PointCloud>
DecoderGlavor<T_PointCloud>::DecoderGlavor(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param), impl_(std::make_shared<Impl>(this)) {}

template <typename T_PointCloud>
DecoderGlavor<T_PointCloud>::~DecoderGlavor() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderGlavor<T_PointCloud>::GetConstParam() {
  return kGlavor;
}

template <typename T_PointCloud>
bool DecoderGlavor<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                   std::uint16_t start) {
  return impl_->DecodeMsopPacket(pkt, size, start);
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::EnableFinallyFrame() {
  impl_->CloseFrame();
}

template <typename T_PointCloud>
bool DecoderGlavor<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                             std::uint16_t& start) {
  return FindFrameMarker(PacketAs<GlavorMsop>(pkt, size), start);
}

template <typename T_PointCloud>
bool DecoderGlavor<T_PointCloud>::ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const {
  std::uint16_t start = 0;
  return FindFrameMarker(PacketAs<GlavorMsop>(pkt, size), start);
}

template <typename T_PointCloud>
void DecoderGlavor<T_PointCloud>::UpdateCheckParam(CheckParam* param) {
  if (param != nullptr) impl_->UpdateCheckParam(*static_cast<const AngleCheckParam*>(param));
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderGlavor<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
