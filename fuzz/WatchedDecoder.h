// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>

#include "fuzz/DecoderSetup.h"

namespace orliq::fuzz {

/// A decoder of which all that comes out is looked at: finite points no farther away than the limits
/// let them be, and counts that add up.
template <typename P>
class WatchedDecoder {
 public:
  WatchedDecoder(const lidar::SensorModel& model, FuzzInput& input, unsigned options)
      : model_(model),
        input_(input),
        options_(options),
        decoder_(MakeDecoder<P>(model.type, input, options)) {
    decoder_->RegisterCallBack([](const lidar::Error&) {},
                               [this](const auto&, const double& time) { EndFrame(time); });
    decoder_->RegisterIMUCallBack([this] { RequireFinite(*decoder_->CurrentImuMsg()); });
  }

  void Take(const Datagrams& packets) {
    if (packets.Comes(kAfterNews)) TakeNews();
    if (packets.Comes(kAfterJump)) {
      decoder_->EnableFinallyFrame();
      decoder_->NoteJump();
    }
    std::uint16_t start = 0;
    if (packets.IsRemarked()) decoder_->toSplite(packets.data(), packets.size(), start);
    decoder_->ProcessMsopPacket(packets.data(), packets.size(), start);
    decoder_->ShowsFrameBound(packets.data(), packets.size());
    Require(std::isfinite(decoder_->PacketTime()));
    ++packets_;
  }

  void Finish() {
    decoder_->EnableFinallyFrame();
    const auto& counts = decoder_->Counts();
    const std::uint64_t decoded = counts.decoded.Value();
    const std::uint64_t returns = counts.returns.Value();
    const std::uint64_t left_out = model_.keeps_gated_points ? 0 : counts.gated.Value();
    Require(decoded + counts.refused_length.Value() + counts.refused_identifier.Value() ==
            packets_);
    Require(counts.gated.Value() <= returns && returns <= decoded * model_.blocks);
    Require(points_ <= decoded * model_.blocks);
    if (!model_.decodes_points || (options_ & kNoCloud) != 0) return;
    Require(points_ + counts.filtered.Value() + left_out == returns);
  }

 private:
  /// Tables of a sensor that has only now sent them, and the other state of the transform.
  void TakeNews() {
    if (++news_ > kMostNews) return;
    decoder_->UpdateTransform({news_ % 2, 0, 0, 0, 0, 0, 0});
    decoder_->UpdateCheckParam(MakeTables(input_, options_).get());
  }

  void EndFrame(double time) {
    Require(std::isfinite(time));
    const auto& cloud = decoder_->CurrentCloud();
    if (cloud) {
      points_ += cloud->points.size();
      for (const P& point : cloud->points) RequireNear(point);
    }
    decoder_->InstallCloud(MakeCloud<P>(options_));
  }

  /// NaN is nowhere near. The transform moves a point by 2.3 m.
  void RequireNear(const P& point) const {
    const double x = point.x, y = point.y, z = point.z;
    Require(std::sqrt(x * x + y * y + z * z) <= 1.0001 * Farthest(options_) + 2.3);
  }

  static constexpr unsigned kMostNews = 4;  // as they take longer than packets

  const lidar::SensorModel& model_;
  FuzzInput& input_;
  const unsigned options_;
  std::shared_ptr<lidar::Decoder<PointCloud<P>>> decoder_;
  std::uint64_t packets_ = 0;
  std::uint64_t points_ = 0;  // of the frames that have ended
  unsigned news_ = 0;
};

}  // namespace orliq::fuzz
