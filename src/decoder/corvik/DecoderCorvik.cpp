// SPDX-License-Identifier: Apache-2.0
#include "decoder/corvik/DecoderCorvik.h"

#include <utility>

#include "decoder/BeamDirection.h"
#include "decoder/CloudAppend.h"
#include "decoder/ImuSample.h"
#include "decoder/PointFields.h"
#include "decoder/ReturnBatch.h"
#include "decoder/corvik/CorvikModel.h"

namespace orliq::lidar {
namespace {

constexpr std::size_t SAMPLES = CorvikMsop::kSamples;
constexpr std::size_t LINES = 256;  // all that the line byte can tell; the sensor has 56

constexpr double METRES_PER_COUNT = 0.009375;  // [m]
constexpr double ZERO_COUNT = -2.0;            // [m] range of count 0
constexpr double FIRST_SAMPLE = 6000.0;        // [0.01 deg] azimuth
constexpr double SAMPLE_STEP = 62.5;           // [0.01 deg] to the right
constexpr double FIRST_LINE = -1500.0;         // [0.01 deg] depression
constexpr double LINE_STEP = 53.5714286;       // [0.01 deg] downwards
constexpr int INTENSITY = 0x0FFF;              // its bits; what the others say is unknown
constexpr double NO_TIME = 0.0;                // [s] of a frame that the end of the stream ends
constexpr std::uint16_t SECOND_SAMPLE = 1;     // where playback enters a frame
constexpr ImuUnits IMU_UNITS = {2.0345e-5,     // [pi rad/s] per count
                                0.004788403};  // [m/s^2] per count

/// Directions of the samples of a line, and whether the azimuth limits hold them (1 or 0), in lists
/// that the loops over a line read in a row.
struct SampleFan {
  float sin[SAMPLES];
  float cos[SAMPLES];
  std::int32_t inside[SAMPLES];
};

/// The line that a packet holds.
struct ScanLine {
  const SampleFan& fan;
  SinCos elevation;
  std::int32_t inside;  // 1 when the elevation limits hold it
  std::int32_t number;
  const ExtrinsicTransform* transform;  // null: switched off
  Interval range;
};

/// The returns of a packet that are being decoded.
struct CorvikBatch : ReturnBatch<SAMPLES> {
  ORLIQ_LOOP_STEP void MeasureRange(const CorvikSample* __restrict samples, std::int32_t line) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto range = static_cast<float>(samples[i].distance * METRES_PER_COUNT + ZERO_COUNT);
      distance[i] = range < 0.0F ? 0.0F : range;
      tag[i] = HeadTag(samples[i].intensity & INTENSITY, line);
    }
  }

  ORLIQ_LOOP_STEP void Locate(ScanLine line) {
    const std::size_t start = SAMPLES - count;
    const SampleFan& __restrict fan = line.fan;
    for (std::size_t i = 0; i < count; ++i) {
      const SinCos azimuth = {fan.sin[start + i], fan.cos[start + i]};
      LocateAhead(distance[i], {azimuth, line.elevation}, x[i], y[i], z[i]);
      inside[i] = fan.inside[start + i] & line.inside;
    }
    Finish(line.transform, line.range);
  }
};

/// From samples to the heads of their points.
struct CorvikLoop {
  ORLIQ_LOOP_STEP static void Run(const CorvikSample* samples, const ScanLine& line,
                                  CorvikBatch& batch) {
    batch.MeasureRange(samples, line.number);
    batch.Locate(line);
  }
};

}  // namespace

/// Working state and the steps of decoding, in the order in which they run.
template <typename T_PointCloud>
struct DecoderCorvik<T_PointCloud>::Impl {
  using PointType = typename T_PointCloud::PointType;

  explicit Impl(DecoderCorvik* decoder);

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size, std::uint16_t start);
  bool IsNewFrame(const std::uint16_t& line, const std::uint16_t& other);
  void DecodeSamples(const CorvikMsop& msop, std::size_t start, double packet_time);
  void DecodeImu(const CorvikMsop& msop, double packet_time);

  DecoderCorvik* owner;
  IMUBlock last_imu = {};
  std::uint8_t last_line = 0;  // of the packet before; nothing is below the 0 at first

  SampleFan fan;
  SinCos line_elevation[LINES];
  std::int32_t line_inside[LINES];  // 1 when the elevation limits hold it
  CorvikBatch batch = {};           // the returns that are being decoded
};

template <typename T_PointCloud>
DecoderCorvik<T_PointCloud>::Impl::Impl(DecoderCorvik* decoder) : owner(decoder) {
  const Interval azimuths = owner->AzimuthLimits();
  const Interval elevations = owner->ElevationLimits();
  for (std::size_t k = 0; k < SAMPLES; ++k) {
    const int angle = static_cast<int>(FIRST_SAMPLE - static_cast<double>(k) * SAMPLE_STEP);
    const SinCos direction = LookUp(owner->trigon_, angle);
    fan.sin[k] = direction.sin;
    fan.cos[k] = direction.cos;
    fan.inside[k] = azimuths.Holds(CentidegreesToDegrees(angle)) ? 1 : 0;
  }
  for (std::size_t line = 0; line < LINES; ++line) {
    const int angle = -static_cast<int>(static_cast<double>(line) * LINE_STEP + FIRST_LINE);
    line_elevation[line] = LookUp(owner->trigon_, angle);
    line_inside[line] = elevations.Holds(CentidegreesToDegrees(angle)) ? 1 : 0;
  }
}

template <typename T_PointCloud>
bool DecoderCorvik<T_PointCloud>::Impl::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                         std::uint16_t start) {
  const auto* const packet = PacketAs<CorvikMsop>(pkt, size);
  if (packet == nullptr) return false;
  const CorvikMsop& msop = *packet;
  const double packet_time = owner->TakePacketTime(msop.utc);
  bool new_frame = false;
  if (start < SAMPLES) {
    new_frame = IsNewFrame(msop.line, 0);
    DecodeSamples(msop, start, packet_time);
  }
  if (new_frame && owner->split_frame_cb_) owner->EndFrame(packet_time);
  DecodeImu(msop, packet_time);
  return new_frame;
}

/// True when the scan line is below the one before, never for the first; its low 8 bits are kept.
/// The other number does not count.
template <typename T_PointCloud>
bool DecoderCorvik<T_PointCloud>::Impl::IsNewFrame(const std::uint16_t& line,
                                                   const std::uint16_t& /*other*/) {
  return std::exchange(last_line, static_cast<std::uint8_t>(line)) > line;
}

template <typename T_PointCloud>
void DecoderCorvik<T_PointCloud>::Impl::DecodeSamples(const CorvikMsop& msop, std::size_t start,
                                                      double packet_time) {
  const CorvikSample* const samples = msop.samples + start;
  batch.count = SAMPLES - start;
  const ScanLine line = {fan,       line_elevation[msop.line], line_inside[msop.line],
                         msop.line, owner->ActiveTransform(),  owner->DistanceLimits()};
  RunLoop<CorvikLoop>(samples, line, batch);
  owner->CountReturns(batch.count, batch.kept);
  if (!owner->point_cloud_) return;
  AppendPoints(*owner->point_cloud_, batch.count, [&b = batch, packet_time](std::size_t i) {
    PointType point = b.template PointOf<PointType>(i);
    SetTimestamp(point, packet_time);
    return point;
  });
}

/// An inertial sample that equals the one before is the same sample.
template <typename T_PointCloud>
void DecoderCorvik<T_PointCloud>::Impl::DecodeImu(const CorvikMsop& msop, double packet_time) {
  if (owner->IsImuSame(msop.imu, last_imu)) return;
  last_imu = msop.imu;
  if (!owner->imu_cb_ || !owner->imu_msg_) return;
  FillImuMsg<double>(*owner->imu_msg_, msop.imu, packet_time, IMU_UNITS);
  owner->imu_cb_();
}

template <typename T_PointCloud>
DecoderCorvik<T_PointCloud>::DecoderCorvik(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param), impl_(std::make_shared<Impl>(this)) {}

template <typename T_PointCloud>
DecoderCorvik<T_PointCloud>::~DecoderCorvik() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderCorvik<T_PointCloud>::GetConstParam() {
  return kCorvik;
}

template <typename T_PointCloud>
bool DecoderCorvik<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                   std::uint16_t start) {
  return impl_->DecodeMsopPacket(pkt, size, start);
}

template <typename T_PointCloud>
void DecoderCorvik<T_PointCloud>::EnableFinallyFrame() {
  this->EndFrame(NO_TIME);
}

template <typename T_PointCloud>
bool DecoderCorvik<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                             std::uint16_t& start) {
  const auto* const msop = PacketAs<CorvikMsop>(pkt, size);
  if (msop == nullptr || !impl_->IsNewFrame(msop->line, 0)) return false;
  start = SECOND_SAMPLE;
  return true;
}

template <typename T_PointCloud>
bool DecoderCorvik<T_PointCloud>::ShowsFrameBound(const std::uint8_t* pkt, std::size_t size) const {
  const auto* const msop = PacketAs<CorvikMsop>(pkt, size);
  return msop != nullptr && (msop->line & 0xFFU) == 0;
}

template <typename T_PointCloud>
void DecoderCorvik<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderCorvik<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
