// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudOptions.h"

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/OptionChecks.h"

namespace orliq::cli {
namespace {

constexpr char kLimits[] =
    "Limits (inclusive, of the point as the sensor sees it, before --transform; the table below "
    "tells what becomes of a point outside them)";

void AddLimits(CLI::App& command, lidar::DecoderParam& limits) {
  const auto add = [&](const char* name, float& limit, const char* text) {
    command.add_option(name, limit, text)->check(Finite())->capture_default_str()->group(kLimits);
  };
  add("--min-distance", limits.min_distance, "[m]");
  add("--max-distance", limits.max_distance, "[m]");
  add("--min-azimuth", limits.min_azimuth, "[deg] 0 is ahead (x), to the left (y) is positive");
  add("--max-azimuth", limits.max_azimuth, "[deg]");
  add("--min-elevation", limits.min_elevation, "[deg] 0 is level, up is positive");
  add("--max-elevation", limits.max_elevation, "[deg]");
}

void RequireOrder(const char* quantity, float min, float max) {
  if (min <= max) return;
  const std::string name = quantity;
  throw Failure(ExitCode::kUsage,
                "--min-" + name + " is above --max-" + name + ": no point would be left");
}

}  // namespace

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
  command
      .add_option("--out", options.out,
                  "folder for one file per frame, or one file; FILE.mcap takes all of them as "
                  "messages of ROS 2")
      ->check(NotEmpty());
  command
      .add_option("--format", options.format,
                  "format of the files; without it by the ending of --out, or pcd")
      ->check(CLI::IsMember({"pcd", "ply", "csv"}));
  command.add_flag("--force", options.force,
                   "replace the file, or frames of an earlier run in the folder");
  command.add_flag("--no-compression", options.no_compression,
                   "write FILE.mcap as it is: larger, and less work");
  command.add_flag("--with-packets", options.with_packets,
                   "the sensor's packets into FILE.mcap too, which orliq play then takes for a "
                   "capture");
  AddPointOptions(command, options);
}

void AddPointOptions(CLI::App& command, OutputOptions& options) {
  command
      .add_option("--point", options.point,
                  "what a point holds: x, y, z [m], intensity and ring; point-time adds the time "
                  "[s]; point-source adds time, whole metres of range and the source, which begins "
                  "with the index of the sensor, 0 for one alone; juniq adds row, column and the "
                  "raw pulse")
      ->check(CLI::IsMember({"point", "point-time", "point-source", "juniq"}))
      ->capture_default_str();
  command.add_flag("--verbose", options.verbose, "the library's own lines on standard error");
}

void AddModelOption(CLI::App& command, std::string& model) {
  command.add_option("--model", model, "sensor model (" + ModelNames() + ")")
      ->transform(LowerCase())
      ->required();
}

void AddModelOptions(CLI::App& command, std::string& model,
                     std::optional<std::string>& check_folder) {
  AddModelOption(command, model);
  // By a function, as an optional text would take an empty one for none.
  command.add_option_function<std::string>(
      "--check-folder", [&check_folder](const std::string& folder) { check_folder = folder; },
      "folder to read the sensor's calibration from");
}

void AddDecodingOptions(CLI::App& command, CloudOptions& options) {
  AddModelOptions(command, options.model, options.check_folder);
  command
      .add_option("--transform", options.transform,
                  "pose of the sensor as x,y,z,roll,pitch,yaw [m, deg]: a point is turned about "
                  "the axes x (roll), y (pitch), z (yaw) in that order, then moved by x,y,z")
      ->delimiter(',')
      ->expected(6)
      ->check(Finite());
  AddLimits(command, options.decoder);
}

void AddCloudOptions(CLI::App& command, CloudOptions& options) {
  AddDecodingOptions(command, options);
  AddOutputOptions(command, options.output);
}

lidar::DriverParam MakeDriverParam(const CloudOptions& options, const Model& model) {
  RequireOrder("distance", options.decoder.min_distance, options.decoder.max_distance);
  RequireOrder("azimuth", options.decoder.min_azimuth, options.decoder.max_azimuth);
  RequireOrder("elevation", options.decoder.min_elevation, options.decoder.max_elevation);
  lidar::DriverParam param;
  param.lidar_type = model.type;
  param.calibration_param.check_folder = options.check_folder.value_or("");
  param.decoder_param = options.decoder;
  if (!options.transform.empty()) {
    const auto& pose = options.transform;
    param.decoder_param.transform_param = {1, pose[0], pose[1], pose[2], pose[3], pose[4], pose[5]};
  }
  return param;
}

}  // namespace orliq::cli
