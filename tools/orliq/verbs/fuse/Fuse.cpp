// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>

#include "orliq/clouds/CaptureFusion.h"
#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/fuse/FuseTally.h"

namespace orliq::cli {
namespace {

struct Options {
  std::string config;
  OutputOptions output;
  std::string frames;
  bool partial = false;
  bool quiet = false;
};

/// Null when no files are wanted. A single file takes one cloud.
std::unique_ptr<CloudWriter> MakeWriter(const OutputOptions& output, const FusePlan& plan) {
  if (output.out.empty()) return nullptr;
  auto writer = std::make_unique<CloudWriter>(output.out, output.format, output.force);
  if (!writer->SingleFile() || plan.Rounds() == 1) return writer;
  const int first = plan.rounds.first;
  throw Failure(ExitCode::kUsage,
                "--out " + output.out + " is one file, but " + Count(plan.Rounds(), "cloud") +
                    " would go into it: name a folder, or choose one cloud with --frames " +
                    std::to_string(first) + ':' + std::to_string(first + 1));
}

template <typename Cloud>
void FuseClouds(FuseTally& tally, CloudWriter* writer, bool quiet) {
  std::vector<FramesWanted> wanted;
  for (const FusedSensor& sensor : tally.plan->sensors) {
    wanted.push_back(MakeFramesWanted(*tally.plan, sensor));
  }
  CaptureFusion<Cloud> fusion(std::move(wanted));
  ProgressBar bar("fusing", tally.plan->Rounds(), quiet);
  Cloud cloud;
  FusedCloud fused;
  for (fused.round = tally.plan->rounds.first; fusion.Next(cloud, fused.sensors); ++fused.round) {
    const bool writes = writer != nullptr && !cloud.points.empty();
    fused.file = writes ? writer->Write(View(cloud), fused.round, 0).string() : "";
    tally.clouds.push_back(fused);
    bar.Update(tally.clouds.size());
  }
  tally.counts = fusion.Statistics();
}

FuseTally FuseAll(const Options& options, const FusePlan& plan, bool quiet) {
  FuseTally tally;
  tally.plan = &plan;
  const auto writer = MakeWriter(options.output, plan);
  WithCloudType(options.output.point, [&](auto type) {
    FuseClouds<typename decltype(type)::Cloud>(tally, writer.get(), quiet);
  });
  if (tally.clouds.empty()) {
    throw Failure(ExitCode::kLosses, "interrupted before a cloud was fused");
  }
  tally.interrupted = tally.clouds.size() < plan.Rounds();
  if (writer) {
    tally.files_written = writer->Files();
    tally.files = FilesText(*writer, options.output.out);
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

ExitCode Run(const Options& options, Console& console) {
  CatchInterrupts();
  const OutputOptions& output = options.output;
  if (!output.out.empty()) ExamineTarget(output.out, output.format, output.force);
  const FusePlan plan = MakeFusePlan(options.config, options.frames, options.partial, console);
  if (output.verbose) console.ShowLibraryLines();
  const FuseTally tally = FuseAll(options, plan, console.Quiet());
  console.Print(tally.MakeReport());
  for (const std::string& remark : FuseRemarks(tally)) console.Note(remark);
  RequireAllFused(tally);
  return tally.AnyLost() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace

Verb AddFuse(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand(
      "fuse", "Plays the captures of several sensors at once and makes one cloud of their frames.");
  command
      ->add_option("--config", options->config,
                   "file that describes the sensors, a capture of each")
      ->check(NotEmpty())
      ->required();
  AddOutputOptions(*command, options->output);
  command->add_option("--frames", options->frames, "A:B fuses cloud A to before cloud B");
  command->add_flag("--partial", options->partial,
                    "take frames that are not whole, at the ends of the captures, too");
  command->add_flag("--json", "report as JSON, with every cloud");
  command->add_flag("--quiet", options->quiet, "no progress bar, no remarks");
  command->footer(
      "Cloud 0 is made of the first whole frame of each capture, or of the one that first_frame "
      "names in the file; cloud 1 of the next ones, and so on to the end of the shortest. The "
      "points of the file's first sensor come first.\n\n"
      "Example:\n"
      "  orliq fuse --config sensors.yaml --point point-source --out fused --format ply\n"
      "with sensors.yaml:\n"
      "  sensors:\n"
      "    - {name: front, model: juniq, capture: front.pcap,\n"
      "       check_folder: front-check, extrinsics: {x: 1.2}}\n"
      "    - {name: rear, model: juniq, capture: rear.pcap,\n"
      "       check_folder: rear-check, extrinsics: {x: -1.2, yaw: 180}}");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return Run(*options, console);
          }};
}

}  // namespace orliq::cli
