// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeOptions.h"

#include <memory>
#include <set>
#include <string>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddPublishOptions(CommandLine& command, BridgeOptions& options) {
  PublishOptions& publish = options.publish;
  command.AddWord("--stamp", publish.stamp,
                  {{"packets", RosStamp::kPackets}, {"host", RosStamp::kHost}}, "packets or host",
                  "clock of the messages' stamps: packets, that of the sensor, or host, that of "
                  "this machine when a frame is complete");
  command
      .Add("--base", publish.base, "frame of the robot, in which the extrinsics place the sensors")
      .NotEmpty()
      .ShowDefault();
  command
      .Add("--name", options.name,
           "name of the only sensor: of its frame and of its topics; without it that of its model")
      .NotEmpty();
  command.AddFlag(
      "--reliable", publish.reliable,
      "publish clouds and samples with reliable QoS, not as sensor data, which is best effort");
  command.AddFlagAgainst("--no-dds", publish.dds,
                         "publish nothing over DDS, but to the viewers of --foxglove only");
  AddFoxgloveOptions(command, publish.foxglove);
  command.AddFlag("--loop", options.loop, "play a capture again at its end");
  command.AddFlag("--list", options.list,
                  "publish nothing, but tell which computer has which sensor: of the bridges that "
                  "are heard in this domain within --duration");
}

void RequireRoad(const CommandLine& command, const PublishOptions& publish) {
  RequireFoxglove(command);
  if (publish.dds) return;
  if (!publish.foxglove.port) {
    throw Failure(ExitCode::kUsage, "--no-dds leaves no road to publish on: add --foxglove PORT");
  }
  if (publish.reliable) throw Failure(ExitCode::kUsage, "--reliable is of DDS: leave out --no-dds");
}

/// A list is of what others publish.
void Require(const CommandLine& command, BridgeOptions& options) {
  if (!options.list) {
    RequireRoad(command, options.publish);
    return RequireSource(command, options);
  }
  const std::set<std::string> of_list = {"--list", "--duration", "--json", "--quiet"};
  for (const std::string& option : command.Given()) {
    if (of_list.count(option) > 0) continue;
    throw Failure(ExitCode::kUsage, "--list publishes nothing: leave out " + option);
  }
}

}  // namespace

Verb AddBridge(Program& program) {
  const auto options = std::make_shared<BridgeOptions>();
  CommandLine command =
      program.AddVerb("bridge",
                      "Publishes live sensors or captures to ROS 2, over DDS, without a ROS "
                      "installation, and to viewers of the Foxglove WebSocket protocol.");
  AddSourceOptions(command, *options, "publish");
  AddLiveSourceOptions(command, options->live);
  AddPublishOptions(command, *options);
  command.Footer(
      ModelTable() +
      "\nOf a sensor NAME it publishes /NAME/points and, if it has one, /NAME/imu; and of all of "
      "them /tf_static and /diagnostics. ROS_DOMAIN_ID and ROS_LOCALHOST_ONLY count as in ROS 2, "
      "and so does CYCLONEDDS_URI. It runs until a limit, Ctrl-C or SIGTERM.\n\n"
      "Example:\n"
      "  orliq bridge --config sensors.yaml\n"
      "  orliq bridge --model juniq --port 2368 --check-folder room-check --name front\n"
      "  orliq bridge room.pcap --model juniq --check-folder room-check --loop\n"
      "  orliq bridge --config sensors.yaml --foxglove 8765 --no-dds\n"
      "  orliq bridge --list");
  return {command, [command, options](Console& console) {
            Require(command, *options);
            if (!options->live.config.empty() && !options->name.empty()) {
              throw Failure(ExitCode::kUsage,
                            "--name is for one sensor; those of a file have names");
            }
            return RunBridge(*options, console);
          }};
}

}  // namespace orliq::cli
