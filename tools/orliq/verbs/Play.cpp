// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "orliq/capture/SurveyText.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/clouds/FramePlayer.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/PlayOptions.h"
#include "orliq/verbs/PlayTally.h"

namespace orliq::cli {
namespace {

/// What is known before the first frame is played.
struct Plan {
  const Model* model;
  std::uint16_t port;
  FrameRange range;
  CaptureSurvey survey;  ///< of the datagrams to `port`
};

lidar::DriverParam MakeDriverParam(const PlayOptions& options, const Model& model,
                                   std::uint16_t port) {
  lidar::DriverParam param = MakeDriverParam(options.cloud, model);
  param.input_type = lidar::InputType::Pcap;
  param.input_param.pcap_file = options.capture;
  param.input_param.port = port;
  return param;
}

/// Finds the port of the sensor's packets, unless it was given.
Plan MakePlan(const PlayOptions& options, const Console& console) {
  const Model& model = DecodableModel(options.cloud);
  MakeDriverParam(options, model, 0);  // refuses senseless limits before any file is read
  Plan plan = {&model, options.port.value_or(0), ParseFrameRange(options.frames), {}};
  const bool quiet = console.Quiet();
  plan.survey = SurveyWithBar(options.capture, plan.port, quiet);
  if (!FitsAny(plan.survey, model)) {
    const auto everything = plan.port == 0 ? plan.survey : SurveyWithBar(options.capture, 0, quiet);
    throw Failure(ExitCode::kNoData, WhyNothingFits(everything, model, plan.port));
  }
  if (!options.port) {
    plan.port = FittingPort(plan.survey, model);
    if (plan.survey.flows.size() > 1 || plan.survey.Skipped(Skip::kCut) > 0) {
      plan.survey = SurveyWithBar(options.capture, plan.port, quiet);
    }
  }
  return plan;
}

template <typename Cloud>
class Playback {
 public:
  Playback(const PlayOptions& options, const Plan& plan, const Console& console)
      : options_(options), plan_(plan), quiet_(console.Quiet()) {}

  PlayTally Run() {
    if (!player_.Open(MakeDriverParam(options_, *plan_.model, plan_.port))) {
      throw Failure(ExitCode::kFileFault, "the driver cannot open " + options_.capture);
    }
    tally_.entries = player_.WaitForIndex();
    const FrameRange range = WithinCapture(plan_.range, tally_.entries);
    tally_.first = range.first;
    tally_.last = *range.last;
    if (!options_.cloud.out.empty()) {
      writer_ = std::make_unique<CloudWriter>(options_.cloud.out, options_.cloud.format);
      RequireOneFrame(*writer_);
    }
    PlayFrames();
    Conclude();
    return std::move(tally_);
  }

 private:
  /// A single output file takes one frame.
  void RequireOneFrame(const CloudWriter& writer) const {
    const int first = tally_.first;
    if (!writer.SingleFile() || tally_.last - first == 1) return;
    throw Failure(ExitCode::kUsage,
                  "--out " + options_.cloud.out + " is one file, but " +
                      Count(static_cast<std::uint64_t>(tally_.last - first), "frame") +
                      " would go into it: name a folder, or choose one frame "
                      "with --frames " +
                      std::to_string(first) + ':' + std::to_string(first + 1));
  }

  void PlayFrames() {
    ProgressBar bar("playing", static_cast<std::uint64_t>(tally_.last - tally_.first), quiet_);
    player_.Play(tally_.first, tally_.last, [&](const typename FramePlayer<Cloud>::Frame& frame) {
      Take(frame);
      bar.Update(static_cast<std::uint64_t>(frame.entry + 1 - tally_.first));
    });
  }

  void Take(const typename FramePlayer<Cloud>::Frame& frame) {
    const bool further = !tally_.frames.empty() && tally_.frames.back().frame == frame.entry;
    PlayedFrame played;
    played.frame = frame.entry;
    played.part = further ? tally_.frames.back().part + 1 : 0;
    played.timestamp = frame.cloud->timestamp;
    played.points = frame.cloud->points.size();
    played.non_zero = CountNonZero(*frame.cloud);
    played.seconds = frame.seconds;
    if (writer_ && played.points > 0) {
      played.file = writer_->Write(View(*frame.cloud), played.frame, played.part).string();
    }
    tally_.frames.push_back(std::move(played));
  }

  void Conclude() {
    tally_.refused = CountRefused(plan_.survey, *plan_.model);
    tally_.fault_reports = player_.Faults();
    if (!writer_) return;
    tally_.files_written = writer_->Files();
    tally_.files = FilesText(*writer_, options_.cloud.out);
  }

  const PlayOptions& options_;
  const Plan& plan_;
  bool quiet_;
  std::unique_ptr<CloudWriter> writer_;
  PlayTally tally_;
  FramePlayer<Cloud> player_;
};

PlayTally PlayPoints(const PlayOptions& options, const Plan& plan, const Console& console) {
  return WithCloudType(options.cloud.point, [&](auto type) {
    return Playback<typename decltype(type)::Cloud>(options, plan, console).Run();
  });
}

ExitCode Run(const PlayOptions& options, Console& console) {
  const Plan plan = MakePlan(options, console);
  RequireCalibration(*plan.model, options.cloud.check_folder, console);
  if (options.cloud.verbose) console.ShowLibraryLines();
  const PlayTally tally = PlayPoints(options, plan, console);
  console.Print(tally.MakeReport());
  if (!plan.survey.fault.empty()) {
    throw Failure(ExitCode::kLosses, options.capture + ' ' + FaultText(plan.survey));
  }
  if (!tally.HasLosses()) return ExitCode::kDone;
  console.Note(
      "packets of other kinds reached the decoder: orliq info shows the ports, --port "
      "chooses one");
  return ExitCode::kLosses;
}

}  // namespace

Verb AddPlay(CLI::App& app) {
  const auto options = std::make_shared<PlayOptions>();
  CLI::App* const command =
      app.add_subcommand("play", "Decodes the frames of a capture file and writes them as clouds.");
  AddPlayOptions(*command, *options);
  command->footer(
      "Example:\n  orliq play room.pcap --model juniq --check-folder room-check --frames 0:5 "
      "--out frames --format ply");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return Run(*options, console);
          }};
}

}  // namespace orliq::cli
