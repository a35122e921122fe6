// SPDX-License-Identifier: Apache-2.0
#include "decoder/kelvane/DecoderKelvane.h"

#include "decoder/BeamDirection.h"
#include "decoder/CloudAppend.h"
#include "decoder/Interval.h"
#include "decoder/PointFields.h"
#include "decoder/kelvane/KelvaneModel.h"
#include "decoder/kelvane/SequenceGaps.h"
#include "decoder/kelvane/SequenceWindow.h"

namespace orliq::lidar {
namespace {

constexpr std::size_t RECORDS = KelvaneMsop::kRecords;
constexpr std::size_t COLUMNS = 2 * RECORDS;
constexpr int FIRST_COLUMN = -1300;                 // [0.01 deg] elevation
constexpr int COLUMN_STEP = 5;                      // [0.01 deg] upwards
constexpr std::size_t FACES = 4;                    // of the mirror
constexpr int FACE_OFFSETS[FACES] = {0, -2, 2, 3};  // [0.01 deg] elevation
constexpr double METRES_PER_COUNT = 0.005;          // [m]
constexpr double NO_TIME = 0.0;                     // [s] of every frame and point
constexpr unsigned IGNORE_PACKET = 0x02;            // a flag

/// A column as one face of the mirror sends it out.
struct Column {
  SinCos elevation;
  std::int32_t inside;  // 1 when the elevation limits hold it
};

/// The columns that a packet covers: each record has one of its own when two packets make a cycle,
/// two records in a row share one when four do.
struct ColumnWalk {
  ColumnWalk(std::size_t index, std::uint8_t cycle_mode)
      : first((index % (cycle_mode != 0 ? 2 : 4)) * RECORDS), halving(cycle_mode != 0 ? 0 : 1) {}

  std::size_t Of(std::size_t record) const { return (first + record) >> halving; }

  std::size_t first;
  unsigned halving;
};

/// Place in the tables of a face, which count from 1; a face that is none counts as the first.
std::size_t PlaceOf(std::uint8_t face) {
  return face >= 1 && face <= FACES ? face - 1U : 0U;
}

/// Null for a packet that is none or that the sensor wants to be ignored.
const KelvaneMsop* Open(const std::uint8_t* pkt, std::size_t size) {
  const auto* const msop = PacketAs<KelvaneMsop>(pkt, size);
  return msop == nullptr || (msop->flags & IGNORE_PACKET) != 0 ? nullptr : msop;
}

}  // namespace

/// Working state and the steps of decoding, in the order in which they run.
template <typename T_PointCloud>
struct DecoderKelvane<T_PointCloud>::Impl {
  using PointType = typename T_PointCloud::PointType;

  explicit Impl(DecoderKelvane* decoder);

  bool DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size);
  void CountGap(const KelvaneMsop* msop);
  void DecodeRecords(const KelvaneMsop& msop);
  void MeasureRange(const KelvaneRecord* records);
  void Select(const Column* face, ColumnWalk walk);
  void Append(const KelvaneMsop& msop, const Column* face, ColumnWalk walk) const;

  DecoderKelvane* owner;
  SequenceWindow window;
  SequenceGaps gaps;
  Column columns[FACES][COLUMNS];

  // The records that are being decoded.
  float distance[RECORDS];    // [m]
  std::size_t kept[RECORDS];  // those within the limits
  std::size_t count = 0;      // of these
};

template <typename T_PointCloud>
DecoderKelvane<T_PointCloud>::Impl::Impl(DecoderKelvane* decoder) : owner(decoder) {
  const Interval limits = owner->ElevationLimits();
  for (std::size_t face = 0; face < FACES; ++face) {
    for (std::size_t column = 0; column < COLUMNS; ++column) {
      const int angle = FIRST_COLUMN + COLUMN_STEP * static_cast<int>(column) + FACE_OFFSETS[face];
      columns[face][column] = {LookUp(owner->trigon_, angle),
                               limits.Holds(CentidegreesToDegrees(angle)) ? 1 : 0};
    }
  }
}

/// The frame before is handed out first, with whatever callback is there, so that this packet's
/// points are the first of the new frame.
template <typename T_PointCloud>
bool DecoderKelvane<T_PointCloud>::Impl::DecodeMsopPacket(const std::uint8_t* pkt,
                                                          std::size_t size) {
  CountGap(PacketAs<KelvaneMsop>(pkt, size));
  const KelvaneMsop* const msop = Open(pkt, size);
  if (msop == nullptr) return false;
  const bool new_frame = window.Take(msop->sequence) == SequenceWindow::Outcome::NewFrame;
  if (new_frame) owner->EndFrame(NO_TIME);
  DecodeRecords(*msop);
  return new_frame;
}

/// One to be ignored has come as well.
template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::Impl::CountGap(const KelvaneMsop* msop) {
  if (msop == nullptr) return;
  gaps.Take(SequenceWindow::IndexOf(msop->sequence));
  owner->counts_.skipped.Set(gaps.Skipped());
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::Impl::DecodeRecords(const KelvaneMsop& msop) {
  const int azimuth = msop.azimuth;
  if (!owner->AzimuthLimits().Holds(CentidegreesToDegrees(azimuth))) {
    owner->CountReturns(RECORDS, 0);
    return;
  }
  const Column* const face = columns[PlaceOf(msop.face)];
  const ColumnWalk walk(SequenceWindow::IndexOf(msop.sequence), msop.cycle_mode);
  MeasureRange(msop.records);
  Select(face, walk);
  owner->CountReturns(RECORDS, count);
  if (owner->point_cloud_) Append(msop, face, walk);
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::Impl::MeasureRange(const KelvaneRecord* records) {
  for (std::size_t j = 0; j < RECORDS; ++j) {
    distance[j] = static_cast<float>(records[j].distance * METRES_PER_COUNT);
  }
}

/// Leaves out the records outside the limits.
template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::Impl::Select(const Column* face, ColumnWalk walk) {
  const Interval limits = owner->DistanceLimits();
  std::size_t places = 0;
  for (std::size_t j = 0; j < RECORDS; ++j) {
    kept[places] = j;  // the next overwrites one that is outside: no branch that nobody foresees
    const std::int32_t in_range = limits.Holds(distance[j]) ? 1 : 0;
    places += static_cast<std::size_t>(face[walk.Of(j)].inside & in_range);
  }
  count = places;
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::Impl::Append(const KelvaneMsop& msop, const Column* face,
                                                ColumnWalk walk) const {
  const SinCos azimuth = LookUp(owner->trigon_, msop.azimuth);
  AppendPoints(*owner->point_cloud_, count, [this, &msop, face, walk, azimuth](std::size_t i) {
    const std::size_t record = kept[i];
    const std::size_t column = walk.Of(record);
    const SinCos elevation = face[column].elevation;
    const float range = distance[record];
    const float horizontal = range * elevation.cos;
    PointType point;
    point.x = horizontal * azimuth.cos;
    point.y = horizontal * azimuth.sin;
    point.z = range * elevation.sin;
    point.intensity = msop.records[record].intensity;
    point.ring = static_cast<std::uint16_t>(column);
    SetTimestamp(point, NO_TIME);
    return point;
  });
}

template <typename T_PointCloud>
DecoderKelvane<T_PointCloud>::DecoderKelvane(const DecoderParam& param)
    : Decoder<T_PointCloud>(GetConstParam(), param), impl_(std::make_shared<Impl>(this)) {}

template <typename T_PointCloud>
DecoderKelvane<T_PointCloud>::~DecoderKelvane() = default;

template <typename T_PointCloud>
DecoderConstParam DecoderKelvane<T_PointCloud>::GetConstParam() {
  return kKelvane;
}

template <typename T_PointCloud>
bool DecoderKelvane<T_PointCloud>::DecodeMsopPacket(const std::uint8_t* pkt, std::size_t size,
                                                    std::uint16_t /*start*/) {
  return impl_->DecodeMsopPacket(pkt, size);
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::EnableFinallyFrame() {
  this->EndFrame(NO_TIME);
}

template <typename T_PointCloud>
bool DecoderKelvane<T_PointCloud>::SplitFrame(const std::uint8_t* pkt, std::size_t size,
                                              std::uint16_t& start) {
  const KelvaneMsop* const msop = Open(pkt, size);
  if (msop == nullptr) return false;
  if (impl_->window.Take(msop->sequence) != SequenceWindow::Outcome::NewFrame) return false;
  start = 0;
  return true;
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::NoteJump() {
  impl_->gaps.NoteJump();
}

template <typename T_PointCloud>
bool DecoderKelvane<T_PointCloud>::ShowsFrameBound(const std::uint8_t* pkt,
                                                   std::size_t size) const {
  const KelvaneMsop* const msop = Open(pkt, size);
  return msop != nullptr && SequenceWindow::IndexOf(msop->sequence) == 0;
}

template <typename T_PointCloud>
void DecoderKelvane<T_PointCloud>::UpdateCheckParam(CheckParam* /*param*/) {}

#define ORLIQ_INSTANTIATE(CLOUD) template class DecoderKelvane<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
