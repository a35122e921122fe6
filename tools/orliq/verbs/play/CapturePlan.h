// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orliq/capture/CaptureSurvey.h"
#include "orliq/sensors/Models.h"
#include "orliq/sensors/SensorWords.h"
#include "orliq/terminal/Remarks.h"

// What must be known of a capture before its first frame is played.
namespace orliq::cli {

/// A sensor whose packets stand in a capture, as the user describes it.
struct CaptureSource {
  std::string capture;
  const Model* model = nullptr;
  std::optional<std::uint16_t> port;  ///< nothing: the port whose packets fit the model; 0: any
  std::string source;                 ///< address of the sender; empty: any
  std::optional<std::string> check_folder;
  SensorWords words = {};           ///< in what is told about it
  std::string reading = "reading";  ///< before the progress bar
};

struct CapturePlan {
  const Model* model;
  SurveyScope scope;     ///< with the port that was found
  CaptureSurvey survey;  ///< of the datagrams in the scope
  WholeFrames whole;     ///< of a capture without a mark all that there is, which is no frame

  bool HasMarks() const { return survey.frames.size() > 1; }
};

/// Refuses by Failure what is cheap to refuse: a file or a check folder that cannot be read. Remarks on
/// the calibration.
void ExamineSource(const CaptureSource& source, const Remarks& remarks);

/// Surveys the capture and finds the port of the sensor's packets, unless it was given. Throws Failure
/// when no packet fits, and says why; when several ports fit, and on an interrupt.
CapturePlan MakeCapturePlan(const CaptureSource& source, bool quiet);

/// The entry to be played ahead of entry `first`, of a capture with `entries`, for FramePlayer.
int EntryAhead(const CapturePlan& plan, int first, int entries);

/// The entries that hold a whole frame; with `partial` all that hold a packet.
std::vector<int> UsableFrames(const CapturePlan& plan, bool partial);

/// What is doubtful in the capture, when its frames are played from entry `first` on.
std::vector<std::string> CaptureRemarks(const CapturePlan& plan, int first,
                                        const SensorWords& words = {});

/// Throws Failure when the capture ended early, or is not the one any more that was surveyed.
void RequireWholeCapture(const std::string& capture, const CaptureSurvey& survey);

}  // namespace orliq::cli
