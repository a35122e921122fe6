// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/fuse/FuseOptions.h"

#include <algorithm>
#include <memory>

#include "orliq/clouds/CaptureFusion.h"
#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/CloudOutput.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/fuse/FuseTally.h"

namespace orliq::cli {
namespace {

std::vector<PacketSource> PacketsOf(const FusePlan& plan) {
  std::vector<PacketSource> sources;
  for (const FusedSensor& fused : plan.sensors) {
    const SurveyScope& scope = fused.plan.scope;
    sources.push_back({PacketTopicName(fused.sensor.name),
                       fused.sensor.capture,
                       {scope.port, kDriverBufferBytes, scope.source}});
  }
  return sources;
}

/// Null when no files are wanted. A single file takes one cloud.
std::unique_ptr<CloudSink> MakeSink(const OutputOptions& output, const FusePlan& plan) {
  std::vector<lidar::DriverParam> params;
  for (const FusedSensor& fused : plan.sensors) params.push_back(MakeDriverParam(fused.sensor));
  CloudScene scene = FusedScene(params);
  scene.begins = plan.sensors.front().plan.survey.first_time;
  auto sink = OpenOutput(output, scene, PacketsOf(plan));
  if (!sink || !sink->TakesOneCloud() || plan.Rounds() == 1) return sink;
  const int first = plan.rounds.first;
  throw Failure(ExitCode::kUsage,
                "--out " + output.out + " is one file, but " + Count(plan.Rounds(), "cloud") +
                    " would go into it: name a folder, or choose one cloud with --frames " +
                    std::to_string(first) + ':' + std::to_string(first + 1));
}

template <typename Cloud>
void FuseClouds(FuseTally& tally, CloudSink* sink, bool quiet) {
  std::vector<FramesWanted> wanted;
  for (const FusedSensor& sensor : tally.plan->sensors) {
    wanted.push_back(MakeFramesWanted(*tally.plan, sensor));
  }
  CaptureFusion<Cloud> fusion(std::move(wanted));
  ProgressBar bar("fusing", tally.plan->Rounds(), quiet);
  Cloud cloud;
  FusedCloud fused;
  for (fused.round = tally.plan->rounds.first; fusion.Next(cloud, fused.sensors); ++fused.round) {
    const bool writes = sink != nullptr && !cloud.points.empty();
    fused.file = writes ? sink->Write(View(cloud), fused.round, 0).string() : "";
    tally.clouds.push_back(fused);
    bar.Update(tally.clouds.size());
  }
  tally.counts = fusion.Statistics();
}

FuseTally FuseAll(const FuseOptions& options, const FusePlan& plan, bool quiet) {
  FuseTally tally;
  tally.plan = &plan;
  const auto sink = MakeSink(options.output, plan);
  WithCloudType(options.output.point, [&](auto type) {
    FuseClouds<typename decltype(type)::Cloud>(tally, sink.get(), quiet);
  });
  if (tally.clouds.empty()) {
    throw Failure(ExitCode::kLosses, "interrupted before a cloud was fused");
  }
  tally.interrupted = tally.clouds.size() < plan.Rounds();
  if (sink) {
    sink->Finish();
    tally.files_written = sink->Files();
    tally.files = FilesText(*sink, options.output.out);
  }
  return tally;
}

/// Throws Failure when not all was done that was asked for.
void RequireAllFused(const FuseTally& tally) {
  if (tally.interrupted) {
    throw Failure(ExitCode::kLosses, "interrupted before all clouds were fused");
  }
  RequireWholeCaptures(*tally.plan);
  const auto& clouds = tally.clouds;
  if (std::any_of(clouds.begin(), clouds.end(), [](const auto& c) { return c.Points() > 0; })) {
    return;
  }
  throw Failure(ExitCode::kNoData, "the fused clouds hold no point");
}

}  // namespace

ExitCode RunFuse(const FuseOptions& options, Console& console) {
  CatchInterrupts();
  const OutputOptions& output = options.output;
  ExamineOutput(output);
  ParseFrameRange(options.frames);  // refuses what makes no sense before any file is read
  const SensorFile file = ReadSensorFile(options.config);
  const FusePlan plan = MakeFusePlan(file, options.frames, options.partial, console);
  if (output.verbose) console.ShowLibraryLines();
  const FuseTally tally = FuseAll(options, plan, console.Quiet());
  console.Print(tally.MakeReport());
  for (const std::string& remark : FuseRemarks(tally)) console.Note(remark);
  RequireAllFused(tally);
  return tally.AnyLost() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace orliq::cli
