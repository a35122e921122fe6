// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <optional>

#include "orliq/capture/SurveyText.h"
#include "orliq/clouds/FramePlayer.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

struct Options {
  std::string capture;
  std::string model;
  std::string check_folder;
  std::uint16_t port = 0;
  bool json = false;
  bool quiet = false;
};

void AddOptions(CLI::App& command, Options& options) {
  command.add_option("CAPTURE", options.capture, "capture file, pcap or pcapng")->required();
  command.add_option("--model", options.model,
                     "count the frames of this model (" + ModelNames() + ")");
  command.add_option("--port", options.port, "look at this destination port only")
      ->check(Within(0, 65535));
  command.add_option("--check-folder", options.check_folder,
                     "also say whether this calibration folder is good for the model");
  command.add_flag("--json", options.json, "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
}

struct FrameCount {
  int entries = 0;
  std::uint64_t points_in_last = 0;  ///< of the entry that ends with the capture
};

/// Counts as the driver does, which makes one entry more than frames: the packets after the last
/// frame mark, if any.
FrameCount CountFrames(const std::string& capture, const Model& model, std::uint16_t port) {
  lidar::DriverParam param;
  param.input_type = lidar::InputType::Pcap;
  param.lidar_type = model.type;
  param.input_param.pcap_file = capture;
  param.input_param.port = port;
  using Cloud = PointCloud<Point>;
  FramePlayer<Cloud> player;
  if (!player.Open(param)) throw Failure(ExitCode::kFileFault, "cannot index " + capture);
  FrameCount count;
  count.entries = player.WaitForIndex();
  player.Play(count.entries - 1, count.entries, [&](const FramePlayer<Cloud>::Frame& frame) {
    count.points_in_last += frame.cloud->points.size();
  });
  return count;
}

void AddFrames(Report& report, const Options& options, const Model& model, std::uint16_t port) {
  const FrameCount count = CountFrames(options.capture, model, port);
  const auto complete = static_cast<std::uint64_t>(count.entries - 1);
  const std::string rest = count.points_in_last == 0
                               ? "no points after the last"
                               : Grouped(count.points_in_last) + " points of one more that is cut";
  report.Add("complete_frames", "Frames", complete,
             Grouped(complete) + " complete " + model.name + " frames, " + rest);
  report.Add("frame_entries", "", count.entries, "");
  report.Add("points_after_last_frame", "", count.points_in_last, "");
}

void AddSummary(Report& report, const Options& options, const CaptureSurvey& survey) {
  const double duration = survey.Duration();
  const double rate = duration > 0 ? static_cast<double>(survey.records - 1) / duration : 0.0;
  report.Add("capture", "Capture", options.capture,
             options.capture + ", " + Megabytes(survey.file_bytes) + ", " + survey.link_type);
  report.Add("link_type", "", survey.link_type, "");
  report.Add("file_bytes", "", survey.file_bytes, "");
  report.Add("records", "Records", survey.records,
             Grouped(survey.records) + (survey.fault.empty() ? "" : ", then malformed"));
  report.Add("duration_s", "Duration", duration, Fixed(duration, 3) + " s");
  report.Add("records_per_s", "Rate", rate, Fixed(rate, 1) + " records/s");
  report.Add("fault", "", survey.fault, "");
}

void AddCheckFolder(Report& report, const Model& model, const std::string& folder) {
  const CheckFolderReport check = ExamineCheckFolder(model, folder);
  report.Add("check_folder_loaded", "Check folder", check.loaded,
             folder + (check.loaded ? ": loads for " : ": does not load for ") + model.name);
  if (check.remarks.empty()) return;
  Table table = {"Remarks on the check folder", {""}, {false}, {}};
  for (const std::string& remark : check.remarks) table.rows.push_back({remark});
  report.Add("check_folder_remarks", check.remarks, std::move(table));
}

const Model* ChosenModel(const Options& options) {
  if (options.model.empty()) {
    if (options.check_folder.empty()) return nullptr;
    throw Failure(ExitCode::kUsage, "--check-folder needs --model: tables differ by model");
  }
  const Model* const model = lidar::FindSensorModel(options.model);
  if (model != nullptr) return model;
  throw Failure(ExitCode::kUsage,
                "--model " + options.model + " is unknown: use one of " + ModelNames());
}

ExitCode Run(const Options& options, Console& console) {
  const Model* const model = ChosenModel(options);
  const CaptureSurvey survey = SurveyWithBar(options.capture, options.port, options.quiet);
  const std::uint16_t port =
      model == nullptr || options.port != 0 ? options.port : FittingPort(survey, *model);
  const bool fits = model != nullptr && FitsAny(survey, *model);
  Report report;
  AddSummary(report, options, survey);
  if (fits && model->decodes_points) AddFrames(report, options, *model, port);
  if (!options.check_folder.empty()) AddCheckFolder(report, *model, options.check_folder);
  AddFlows(report, survey);
  AddSkipped(report, survey);
  console.Print(report);

  if (!survey.fault.empty()) {
    throw Failure(ExitCode::kFileFault, options.capture + ' ' + FaultText(survey));
  }
  if (model != nullptr && !fits) {
    throw Failure(ExitCode::kNoData, WhyNothingFits(survey, *model, options.port));
  }
  if (fits && !model->decodes_points) {
    console.Note("this version cannot count frames of " + options.model + ", only of " +
                 ModelNames(true));
  }
  return survey.flows.empty() ? ExitCode::kNoData : ExitCode::kDone;
}

}  // namespace

Verb AddInfo(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command =
      app.add_subcommand("info", "Tells what a capture file holds and which sensors fit.");
  AddOptions(*command, *options);
  command->footer("Example:\n  orliq info room.pcap --model juniq");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return Run(*options, console);
          }};
}

}  // namespace orliq::cli
