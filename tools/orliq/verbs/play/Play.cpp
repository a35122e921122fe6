// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/PlayOptions.h"

#include <algorithm>
#include <memory>

#include "orliq/capture/PlayableCapture.h"
#include "orliq/capture/SurveyText.h"
#include "orliq/clouds/CloudOutput.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/FramePlayer.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/verbs/play/CapturePlan.h"
#include "orliq/verbs/play/PlayTally.h"

namespace orliq::cli {
namespace {

lidar::DriverParam MakeDriverParam(const PlayOptions& options, const Model& model,
                                   std::uint16_t port) {
  lidar::DriverParam param = MakeDriverParam(options.cloud, model);
  param.input_type = lidar::InputType::Pcap;
  param.input_param.pcap_file = options.capture;
  param.input_param.port = port;
  return param;
}

CaptureSource MakeSource(const PlayOptions& options, const Model& model) {
  CaptureSource source;
  source.capture = options.capture;
  source.model = &model;
  source.port = options.port;
  source.source = options.source;
  source.check_folder = options.cloud.check_folder;
  return source;
}

/// Everything that is cheap to refuse goes first.
CapturePlan MakePlan(const PlayOptions& options, const Console& console) {
  const Model& model = KnownModel(options.cloud.model);
  // Refuses senseless limits before any file is read.
  const lidar::DriverParam param = MakeDriverParam(options, model, 0);
  ParseFrameRange(options.frames);
  const CaptureSource source = MakeSource(options, model);
  ExamineSource(source, console);
  RemarkOnUnusedPose(model, param.decoder_param.transform_param, console);
  return MakeCapturePlan(source, console.Quiet());
}

template <typename Cloud>
class Playback {
 public:
  Playback(const PlayOptions& options, const CapturePlan& plan, const Console& console)
      : options_(options), plan_(plan), quiet_(console.Quiet()), player_(*plan.model) {
    tally_.model = plan.model;
    tally_.keep_partial = options.partial;
    tally_.marks = plan.survey.frames.empty() ? 0 : plan.survey.frames.size() - 1;
    tally_.senders = Senders(plan.survey, *plan.model, plan.scope.port);
  }

  PlayTally Run() {
    const lidar::DriverParam param = MakeDriverParam(options_, *plan_.model, plan_.scope.port);
    origin_ = OriginOf(param);
    if (!player_.Open(param, options_.source)) {
      throw Failure(ExitCode::kFileFault, "the driver cannot open " + options_.capture);
    }
    tally_.entries = player_.WaitForIndex();
    if (tally_.entries == 0) ThrowNoIndex();
    const FrameRange range = WithinCapture(ParseFrameRange(options_.frames), tally_.entries);
    tally_.first = tally_.done = range.first;
    tally_.last = *range.last;
    OpenOutput(param);
    PlayFrames();
    Conclude();
    return std::move(tally_);
  }

 private:
  [[noreturn]] void ThrowNoIndex() const {
    if (InterruptRequested()) {
      throw Failure(ExitCode::kLosses, "interrupted before a frame was played");
    }
    throw Failure(ExitCode::kFileFault, "the driver finds no packet in " + options_.capture +
                                            " any more: the file has changed meanwhile");
  }

  void OpenOutput(const lidar::DriverParam& param) {
    CloudScene scene = SceneOf(*plan_.model, param);
    scene.begins = plan_.survey.first_time;
    scene.sensor.clear();  // the driver hands out no samples of a capture
    const Wanted wanted = {plan_.scope.port, kDriverBufferBytes, plan_.scope.source};
    sink_ = cli::OpenOutput(options_.cloud.output, scene,
                            {{PacketTopicName({}), options_.capture, wanted}});
    if (sink_ && sink_->TakesOneCloud()) RequireOneFrame();
  }

  bool IsLeftOut(int frame) const { return !options_.partial && !plan_.whole.Holds(frame); }

  /// A single output file takes one frame.
  void RequireOneFrame() const {
    int first = -1;
    std::uint64_t wanted = 0;
    for (int frame = tally_.first; frame < tally_.last; ++frame) {
      if (!IsLeftOut(frame) && ++wanted == 1) first = frame;
    }
    if (wanted <= 1) return;
    throw Failure(ExitCode::kUsage,
                  "--out " + options_.cloud.output.out + " is one file, but " +
                      Count(wanted, "frame") +
                      " would go into it: name a folder, or choose one frame with --frames " +
                      std::to_string(first) + ':' + std::to_string(first + 1));
  }

  void PlayFrames() {
    ProgressBar bar("playing", static_cast<std::uint64_t>(tally_.last - tally_.first), quiet_);
    const auto take = [&](const typename FramePlayer<Cloud>::Frame& frame) {
      Take(frame);
      // Of the frame itself further clouds may come.
      bar.Update(static_cast<std::uint64_t>(frame.entry - tally_.first));
    };
    const int ahead = EntryAhead(plan_, tally_.first, tally_.entries);
    tally_.interrupted = !player_.Play(ahead, tally_.first, tally_.last, take);
  }

  void Take(const typename FramePlayer<Cloud>::Frame& frame) {
    const bool further = !tally_.frames.empty() && tally_.frames.back().frame == frame.entry;
    PlayedFrame played;
    played.frame = frame.entry;
    played.part = further ? tally_.frames.back().part + 1 : 0;
    played.partial = !plan_.whole.Holds(frame.entry);
    played.timestamp = frame.cloud->timestamp;
    played.points = frame.cloud->points.size();
    played.non_zero = CountNonZero(*frame.cloud, origin_);
    played.seconds = frame.seconds;
    played.early_points = frame.early_points;
    if (sink_ && played.points > 0 && !IsLeftOut(frame.entry)) {
      played.file = sink_->Write(View(*frame.cloud), played.frame, played.part).string();
    }
    tally_.frames.push_back(std::move(played));
    tally_.done = frame.entry + 1;
  }

  void Conclude() {
    tally_.packets = FindPackets(plan_.survey.frames, tally_.first, tally_.done);
    tally_.counts = player_.Statistics();
    tally_.fault_reports = player_.Faults();
    if (!sink_) return;
    sink_->Finish();
    tally_.files_written = sink_->Files();
    tally_.files = FilesText(*sink_, options_.cloud.output.out);
  }

  const PlayOptions& options_;
  const CapturePlan& plan_;
  bool quiet_;
  Origin origin_;  // of the sensor
  std::unique_ptr<CloudSink> sink_;
  PlayTally tally_;
  FramePlayer<Cloud> player_;
};

PlayTally PlayPoints(const PlayOptions& options, const CapturePlan& plan, const Console& console) {
  return WithCloudType(options.cloud.output.point, [&](auto type) {
    return Playback<typename decltype(type)::Cloud>(options, plan, console).Run();
  });
}

/// What the table means.
void Explain(const CapturePlan& plan, const PlayTally& tally, const Console& console) {
  for (const std::string& remark : CaptureRemarks(plan, tally.first)) console.Note(remark);
  console.Note(tally.Doubt());
  for (const std::string& remark : LossRemarks(tally.packets)) console.Note(remark);
}

/// Throws Failure when not all was done that was asked for.
void RequireAllPlayed(const PlayOptions& options, const CapturePlan& plan, const PlayTally& tally) {
  if (tally.interrupted) {
    throw Failure(ExitCode::kLosses, "interrupted before all frames were played");
  }
  RequireWholeCapture(options.capture, plan.survey);
  if (!plan.model->delivers_frames) return;  // the end of the capture is all there is
  const auto counts = [&](const PlayedFrame& frame) {
    return frame.points > 0 && (options.partial || !frame.partial);
  };
  const auto& frames = tally.frames;
  if (std::any_of(frames.begin(), frames.end(), counts)) return;
  const bool whole = std::any_of(frames.begin(), frames.end(),
                                 [](const PlayedFrame& frame) { return !frame.partial; });
  if (whole) throw Failure(ExitCode::kNoData, "the whole frames hold no point");
  const bool others = std::any_of(frames.begin(), frames.end(),
                                  [](const PlayedFrame& frame) { return frame.points > 0; });
  throw Failure(ExitCode::kNoData, std::string("no whole frame is there to be played") +
                                       (others ? ": --partial keeps others" : ""));
}

}  // namespace

ExitCode RunPlay(const PlayOptions& wanted, Console& console) {
  CatchInterrupts();
  ExamineOutput(wanted.cloud.output);
  const PlayableCapture capture(wanted.capture, wanted.topic);
  PlayOptions options = wanted;
  options.capture = capture.Path();
  const CapturePlan plan = MakePlan(options, console);
  if (options.cloud.output.verbose) console.ShowLibraryLines();
  const PlayTally tally = PlayPoints(options, plan, console);
  console.Print(tally.MakeReport());
  Explain(plan, tally, console);
  RequireAllPlayed(options, plan, tally);
  capture.RequireWhole();
  return tally.packets.AnyLost() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace orliq::cli
