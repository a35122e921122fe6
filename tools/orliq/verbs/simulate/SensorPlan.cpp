// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SensorPlan.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "orliq/config/SensorPlace.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kLoopback[] = "127.0.0.1";

sim::Pose PoseOf(const lidar::TransformParam& extrinsics) {
  if (extrinsics.enable == 0) return {};
  return {{extrinsics.x, extrinsics.y, extrinsics.z},
          extrinsics.roll,
          extrinsics.pitch,
          extrinsics.yaw};
}

/// `key` is that of the file, `advice` what to write there instead.
void RequireLocal(const std::string& where, const std::string& key, const std::string& address,
                  const std::string& advice) {
  if (IsLocalAddress(address)) return;
  throw Failure(ExitCode::kFileFault, where + key + ' ' + address +
                                          " is no address of this machine, which has " +
                                          LocalAddressText() + ": " + advice);
}

void PlanSending(const ConfiguredSensor& sensor, SensorPlan& plan) {
  const std::string address = sensor.address.empty() ? kLoopback : sensor.address;
  RequireLocal(plan.where, "address", address,
               "simulate --config sends to programs of this machine only, so name one of them");
  if (!sensor.source.empty()) {
    RequireLocal(plan.where, "source", sensor.source,
                 "the simulated sensor sends from there, so name one of them, such as 127.0.0.11");
  }
  plan.options.transmission.to = EndpointText(address, *sensor.port);
}

void PlanCapture(const ConfiguredSensor& sensor, SensorPlan& plan) {
  SimulateOptions& options = plan.options;
  options.out = sensor.capture;
  options.port = sensor.port.value_or(options.port);
  // The frames that a fusion passes over come on top.
  options.frames = options.frames.value_or(kFramesOfACapture) +
                   static_cast<std::uint64_t>(sensor.first_frame.value_or(0));
  if (!sensor.model->needs_tables || sensor.check_folder) return;
  throw Failure(ExitCode::kUsage, plan.where +
                                      "its simulation needs check_folder beside capture: without "
                                      "its calibration " +
                                      kWithoutTables);
}

void PlanCalibration(const ConfiguredSensor& sensor, SensorPlan& plan) {
  if (!sensor.model->needs_tables) return;
  if (sensor.check_folder) {
    plan.options.check_folder = sensor.check_folder;
    RequireNoTableWord(plan.where + "check_folder", *sensor.check_folder);
  }
  if (!sensor.params_from) return;
  RequireLocal(plan.where, "params_from", sensor.params_from->address,
               "the simulated sensor hands out its calibration there, so name one of them");
  plan.options.serve.at = EndpointText(sensor.params_from->address, sensor.params_from->port);
  plan.options.serve.setting = "params_from";
}

SensorPlan PlanSensor(const SimulateOptions& common, const std::string& path,
                      const ConfiguredSensor& sensor) {
  SensorPlan plan;
  plan.name = sensor.name;
  plan.where = PlaceOf(path, sensor);
  plan.options = common;
  plan.options.model = sensor.model->name;
  plan.pose = PoseOf(sensor.decoder.transform_param);
  plan.options.transmission.source = sensor.source;
  sensor.IsLive() ? PlanSending(sensor, plan) : PlanCapture(sensor, plan);
  PlanCalibration(sensor, plan);
  return plan;
}

/// The place that a path leads to, whether or not anything is there yet.
std::string Place(const std::optional<std::string>& path) {
  if (!path) return {};
  std::error_code error;
  const fs::path place = fs::weakly_canonical(fs::absolute(*path, error), error);
  return place.has_filename() ? place : place.parent_path();
}

/// What two sensors name must differ.
struct Named {
  const SensorPlan& plan;
  const char* key;
  std::string value;
};

void RequireApart(const Named& one, const Named& other) {
  if (one.value.empty() || one.value != other.value) return;
  throw Failure(ExitCode::kUsage, one.plan.where + one.key + ' ' + one.value + " is the " +
                                      other.key + " of " + other.plan.name +
                                      " too: the simulation needs one for each");
}

void RequireApart(const std::vector<SensorPlan>& plans) {
  const auto served = [](const SensorPlan& plan) {
    return Named{plan, "params_from", plan.options.serve.at.value_or("")};
  };
  const auto capture = [](const SensorPlan& plan) {
    return Named{plan, "capture", Place(plan.options.out)};
  };
  const auto folder = [](const SensorPlan& plan) {
    return Named{plan, "check_folder", Place(plan.options.check_folder)};
  };
  for (const SensorPlan& plan : plans) {
    const Named receiver = {plan, "address with port", plan.options.transmission.to};
    for (const SensorPlan& other : plans) RequireApart(receiver, served(other));
    for (const SensorPlan* earlier = plans.data(); earlier != &plan; ++earlier) {
      RequireApart(capture(plan), capture(*earlier));
      RequireApart(folder(plan), folder(*earlier));
      RequireApart(served(plan), served(*earlier));
    }
  }
}

bool AnyServes(const std::vector<SensorPlan>& plans) {
  return std::any_of(plans.begin(), plans.end(),
                     [](const SensorPlan& plan) { return plan.options.serve.at.has_value(); });
}

bool AnyHas(const std::vector<SensorPlan>& plans, bool sim::SensorTraits::*trait) {
  return std::any_of(plans.begin(), plans.end(), [trait](const SensorPlan& plan) {
    return HasTrait(plan.options.model, trait);
  });
}

/// The driver applies no extrinsics to some points, but the sensor stands where it stands.
void RemarkOnPose(const ConfiguredSensor& sensor, const SensorPlan& plan, const Console& console) {
  const bool turned_back = sensor.decoder.transform_param.enable == 0 ||
                           sensor.model->transforms_points ||
                           !HasTrait(plan.options.model, &sim::SensorTraits::beams);
  if (turned_back) return;
  console.Note(plan.where + "drivers leave " + plan.options.model +
               " points in the sensor's frame, so they will not fit those of the other sensors");
}

/// Refuses options that would change nothing, as no sensor has what they are for.
void RequireUse(const SimulateOptions& options, const std::vector<SensorPlan>& plans,
                const Console& console) {
  using Traits = sim::SensorTraits;
  const auto refuse = [](const std::string& what) { throw Failure(ExitCode::kUsage, what); };
  const sim::Faults& faults = options.sensor.faults;
  const bool spoils_ranges = faults.range_noise_m > 0.0 || faults.false_return_rate > 0.0;
  if (spoils_ranges && !AnyHas(plans, &Traits::beams)) {
    refuse("no sensor of the file measures ranges: --noise and --false-returns are for " +
           ModelsWith(&Traits::beams));
  }
  if (options.cycle && !AnyHas(plans, &Traits::cycle)) {
    refuse("no sensor of the file has two cycles: --cycle is for " + ModelsWith(&Traits::cycle));
  }
  if (options.no_radius_filter && !AnyHas(plans, &Traits::radius_filter)) {
    console.Note("no sensor of the file has a radius filter: --no-radius-filter changes nothing");
  }
  if (AsksForReplyFaults(options.serve) && !AnyServes(plans)) {
    refuse("no sensor of the file has params_from: the faults of replies need one");
  }
}

}  // namespace

std::vector<SensorPlan> PlanSensors(const SimulateOptions& options, const SensorFile& file,
                                    const Console& console) {
  SimulateOptions common = options;
  const auto& sensors = file.sensors;
  const bool live = std::all_of(sensors.begin(), sensors.end(),
                                [](const ConfiguredSensor& one) { return one.IsLive(); });
  CompleteSensorOptions(common, live);
  std::vector<SensorPlan> plans;
  for (const ConfiguredSensor& sensor : sensors) {
    plans.push_back(PlanSensor(common, file.path, sensor));
    RemarkOnPose(sensor, plans.back(), console);
    ++common.sensor.seed;
  }
  RequireApart(plans);
  RequireUse(options, plans, console);
  return plans;
}

}  // namespace orliq::cli
