// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/PlayedCaptures.h"

#include <filesystem>
#include <utility>

#include "orliq/capture/SurveyText.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/verbs/fuse/FusePlan.h"

namespace orliq::cli {
namespace {

CaptureSource SourceOf(const SourceOptions& options, const Model& model) {
  CaptureSource source;
  source.capture = options.capture;
  source.model = &model;
  source.port = options.port;
  source.source = options.live.choice.source;
  source.check_folder = options.live.cloud.check_folder;
  return source;
}

std::vector<int> EntriesToPlay(const CapturePlan& plan, bool partial, const std::string& done) {
  std::vector<int> entries = UsableFrames(plan, partial);
  if (!entries.empty()) return entries;
  throw Failure(ExitCode::kNoData, "no whole frame is there to be " + done +
                                       (partial ? "" : ": --partial takes others"));
}

}  // namespace

PlayedCaptures OneCapture(const SourceOptions& options, const std::string& done, Console& console) {
  const CloudOptions& cloud = options.live.cloud;
  const Model& model = KnownModel(cloud.model);
  lidar::DriverParam param = MakeDriverParam(cloud, model);
  const CaptureSource source = SourceOf(options, model);
  ExamineSource(source, console);
  RemarkOnUnusedPose(model, param.decoder_param.transform_param, console);
  const CapturePlan plan = MakeCapturePlan(source, console.Quiet());
  std::vector<int> entries = EntriesToPlay(plan, options.partial, done);
  param.input_type = lidar::InputType::Pcap;
  param.input_param.pcap_file = options.capture;
  param.input_param.port = plan.scope.port;
  const int ahead = EntryAhead(plan, entries.front(), static_cast<int>(plan.survey.frames.size()));
  PlayedCaptures captures;
  captures.title = std::filesystem::path(options.capture).filename().string();
  captures.remarks = CaptureRemarks(plan, entries.front());
  captures.sensors.push_back({model.name, &model, param, source.source, ahead, std::move(entries)});
  return captures;
}

PlayedCaptures SeveralCaptures(const SourceOptions& options, const SensorFile& file,
                               Console& console) {
  const FusePlan plan = MakeFusePlan(file, "", options.partial, console);
  PlayedCaptures captures;
  captures.title = file.path;
  for (const FusedSensor& sensor : plan.sensors) {
    captures.sensors.push_back(MakeFramesWanted(plan, sensor));
  }
  return captures;
}

}  // namespace orliq::cli
