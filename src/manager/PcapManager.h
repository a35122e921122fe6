// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "manager/DriverManager.h"

namespace orliq::lidar {

/// Plays a capture file frame by frame, on request: Start indexes the file once, then each accepted
/// PlayLocalFileFrame decodes one frame as fast as the file can be read.
///
/// Threads: one worker. Callbacks run on it, except the first request for a cloud, inside Init.
/// Stop and destruction are allowed from inside a callback.
template <typename T>
class PcapManager final : public DriverManager<T> {
 public:
  PcapManager();
  ~PcapManager() override;

  /// Makes the decoder, loads the check folder (a folder that does not load leaves zero tables),
  /// opens the capture. False when the model is unknown or the file cannot be opened.
  bool Init(const DriverParam& param) override;

  /// Starts indexing from where the file stands; frames found earlier are kept. False without Init.
  bool Start() override;
  void Stop() override;
  void UpdateTransform(const TransformParam& transform) override;

  /// Stores the number of frames and ends a frame that is still playing. False while indexing.
  bool GetLocalFileStatus(int& status) override;

  /// Accepts a request for frame `index`. False while indexing, while a frame plays, or for an
  /// index outside the file. An accepted request ends in a cloud, unless GetLocalFileStatus
  /// or Stop comes first or the provider had none to fill. Start drops the request of a stopped
  /// manager.
  bool PlayLocalFileFrame(const int& index) override;

  /// True while a requested frame plays and while one of its packets is being decoded, although
  /// GetLocalFileStatus or Stop has ended it. The worker touches no cloud while it is false.
  bool IsLocalFramePlaying() const override;
  bool GetStatistics(DriverStatistics& statistics) const override;
  bool GetCalibrationStatus(CalibrationStatus& status) const override;
  void Abandon() override;

 private:
  struct Impl;
  std::shared_ptr<Impl> impl_;
};

}  // namespace orliq::lidar
