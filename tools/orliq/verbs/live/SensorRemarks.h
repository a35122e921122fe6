// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverStatistics.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Remarks.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {

/// What the remarks on a live sensor depend on.
struct SensorWishes {
  const Model* model = nullptr;
  std::string source;    ///< the only sender that counts; empty: every one
  UploadRequest upload;  ///< of its calibration
};

/// What has come of a live sensor by a moment.
struct SensorFacts {
  lidar::DriverStatistics packets;
  std::uint64_t frames = 0;    ///< that count, and empty ones
  std::uint64_t non_zero = 0;  ///< points of theirs that are not at the origin
};

/// Says of a live sensor what the user can mend: once, as soon as it shows.
class SensorRemarks {
 public:
  using Calibration = std::function<lidar::CalibrationStatus()>;

  /// `calibration` tells of that of the sensor.
  SensorRemarks(SensorWishes wishes, Remarks remarks, Calibration calibration);

  /// At any time, `now` [s] since the start.
  void Look(const SensorFacts& facts, double now);

  /// After the last look, when no more frames come.
  void Conclude();

  /// Tables that the sensor did not send as its model needs them: no frame can count any more.
  const std::vector<lidar::RefusedTable>& RefusedTables() const { return refused_tables_; }

 private:
  void WarnOfMixture();
  void WarnOfNothing(std::uint64_t at_least);
  void WarnOfHoles();
  void WarnOfSilence(double now);
  void TellOfTables();

  const SensorWishes wishes_;
  const Remarks remarks_;
  const Calibration calibration_;
  bool mixture_told_ = false;
  bool nothing_told_ = false;
  bool holes_told_ = false;
  bool tables_told_ = false;
  lidar::UploadState silence_told_ = lidar::UploadState::None;  // the one it was told of last
  std::vector<lidar::RefusedTable> refused_tables_;
  SensorFacts facts_;   // of the last look
  double moved_ = 0.0;  // [s] when the calibration last got further
};

/// Who sends to the port of a sensor at once and what to do about it.
std::string MixedSendersText(const lidar::DriverStatistics& packets, const Remarks& remarks);

/// That packets come but end no frame.
std::string NoFrameText(std::uint64_t packets, const Model& model);

/// Says what packets that were lost or refused mean; `socket_buffer` is what the user asked for.
void ExplainLosses(const lidar::DriverStatistics& packets, std::uint32_t socket_buffer,
                   const Console& console);

}  // namespace orliq::cli
