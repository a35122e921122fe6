// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudOptions.h"

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr char kLimits[] =
    "Limits (inclusive, of the point as the sensor sees it, before --transform; the table below "
    "tells what becomes of a point outside them)";

void AddLimits(CommandLine& command, lidar::DecoderParam& limits) {
  const auto add = [&](const char* name, float& limit, const char* text) {
    command.Add(name, limit, text).Finite().ShowDefault().Group(kLimits);
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

void AddOutputOptions(CommandLine& command, OutputOptions& options) {
  command
      .Add("--out", options.out,
           "folder for one file per frame, or one file; FILE.mcap takes all of them as messages of "
           "ROS 2")
      .NotEmpty();
  command
      .Add("--format", options.format,
           "format of the files; without it by the ending of --out, or pcd")
      .OneOf({"pcd", "ply", "csv"});
  command.AddFlag("--force", options.force,
                  "replace the file, or frames of an earlier run in the folder");
  command.AddFlag("--no-compression", options.no_compression,
                  "write FILE.mcap as it is: larger, and less work");
  command.AddFlag(
      "--with-packets", options.with_packets,
      "the sensor's packets into FILE.mcap too, which orliq play then takes for a capture");
  AddPointOptions(command, options);
}

void AddPointOptions(CommandLine& command, OutputOptions& options) {
  command
      .Add("--point", options.point,
           "what a point holds: x, y, z [m], intensity and ring; point-time adds the time [s]; "
           "point-source adds time, whole metres of range and the source, which begins with the "
           "index of the sensor, 0 for one alone; juniq adds row, column and the raw pulse")
      .OneOf({"point", "point-time", "point-source", "juniq"})
      .ShowDefault();
  command.AddFlag("--verbose", options.verbose, "the library's own lines on standard error");
}

void AddModelOption(CommandLine& command, std::string& model) {
  command.Add("--model", model, "sensor model (" + ModelNames() + ")").LowerCase().Required();
}

void AddModelOptions(CommandLine& command, std::string& model,
                     std::optional<std::string>& check_folder) {
  AddModelOption(command, model);
  command.AddText("--check-folder", check_folder, "folder to read the sensor's calibration from");
}

void AddDecodingOptions(CommandLine& command, CloudOptions& options) {
  AddModelOptions(command, options.model, options.check_folder);
  command
      .Add("--transform", options.transform,
           "pose of the sensor as x,y,z,roll,pitch,yaw [m, deg]: a point is turned about the axes "
           "x (roll), y (pitch), z (yaw) in that order, then moved by x,y,z")
      .Values(6)
      .Finite();
  AddLimits(command, options.decoder);
}

void AddCloudOptions(CommandLine& command, CloudOptions& options) {
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
