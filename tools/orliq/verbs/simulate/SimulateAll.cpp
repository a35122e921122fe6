// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SimulateAll.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orliq/config/SensorPlace.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/simulate/SensorPlan.h"
#include "orliq/verbs/simulate/Simulation.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kLook{100};  // at how far all are
constexpr std::chrono::seconds kStatusPause{1};

/// The sensors of a file, each of which sends or writes on a thread of its own and encodes on another,
/// so that none waits for the next.
class SensorGroup {
 public:
  /// Claims all that the sensors need; nothing is sent or written yet.
  SensorGroup(const SimulateOptions& options, const std::vector<SensorPlan>& plans,
              const Console& console)
      : options_(options), plans_(plans), console_(console) {
    for (const SensorPlan& plan : plans_) {
      At(plan.where, [&] {
        auto sensor = sim::MakeSensor(plan.options.model, plan.options.sensor);
        if (!sensor) throw Failure(ExitCode::kUsage, "these options fit no sensor");
        simulations_.push_back(std::make_unique<Simulation>(
            plan.options, std::move(sensor), console, [this] { return MustStop(); }));
      });
    }
  }

  /// Until all are done, or the user ends it, or one of them fails, which ends the others.
  void Run(const sim::Scene& scene) {
    for (std::size_t i = 0; i < plans_.size(); ++i) {
      At(plans_[i].where, [&] { simulations_[i]->Begin({scene, plans_[i].pose}); });
    }
    // They start together: when each has its first frame.
    for (const auto& simulation : simulations_) simulation->AwaitFirstFrame();
    const sim::PaceClock::Time start =
        sim::MonotonicClock().Now() + UntilStart(plans_.front().options);
    for (const auto& simulation : simulations_) simulation->StartAt(start);
    if (Endless()) console_.Note("sending as " + SensorsText() + ", Ctrl-C ends");
    std::vector<std::future<void>> running;
    try {
      for (std::size_t i = 0; i < plans_.size(); ++i) running.push_back(Start(i));
    } catch (...) {
      failed_ = true;  // the futures wait for their threads
      throw;
    }
    Watch(running);
    for (auto& one : running) one.get();
  }

  Report MakeReport();

  /// Only of the worst: what made it late did so to the others, whose delays the table has.
  void RemarkOnDelay() const {
    std::size_t worst = 0;
    for (std::size_t i = 0; i < plans_.size(); ++i) {
      if (simulations_[i]->WorstDelay() > simulations_[worst]->WorstDelay()) worst = i;
    }
    simulations_[worst]->RemarkOnDelay({console_, plans_[worst].name});
  }

  /// Throws Failure when some packets could not be sent, or it was stopped before the last frame.
  void RequireAll() const {
    for (std::size_t i = 0; i < plans_.size(); ++i) {
      At(plans_[i].name + ": ", [&] { simulations_[i]->RequireAllSent(); });
    }
    for (std::size_t i = 0; i < plans_.size(); ++i) {
      At(plans_[i].name + ": ", [&] { simulations_[i]->RequireAllFrames(); });
    }
  }

 private:
  bool MustStop() const { return failed_ || InterruptRequested(); }

  std::future<void> Start(std::size_t i) {
    return std::async(std::launch::async, [this, i] {
      ::pthread_setname_np(::pthread_self(), ("orliq-send-" + std::to_string(i)).c_str());
      try {
        At(plans_[i].where, [&] { simulations_[i]->Run(); });
      } catch (...) {
        failed_ = true;
        throw;
      }
    });
  }

  void Watch(const std::vector<std::future<void>>& running) const {
    std::uint64_t total = 0;
    for (const SensorPlan& plan : plans_) total += plan.options.frames.value_or(0);
    ProgressBar bar("simulating", total, options_.quiet || Endless());
    StatusLine line(options_.quiet || !Endless(), kStatusPause);
    for (const auto& one : running) {
      while (one.wait_for(kLook) != std::future_status::ready) {
        bar.Update(Sum(&Simulation::Frames));
        if (line.Due()) line.Show(StatusText());
      }
    }
  }

  /// Whether one of them runs until it is ended.
  bool Endless() const {
    return std::any_of(plans_.begin(), plans_.end(),
                       [](const SensorPlan& plan) { return !plan.options.frames; });
  }

  std::uint64_t Sum(std::uint64_t (Simulation::*number)() const) const {
    std::uint64_t sum = 0;
    for (const auto& simulation : simulations_) sum += (*simulation.*number)();
    return sum;
  }

  std::string SensorsText() const { return Count(plans_.size(), "sensor"); }

  std::string StatusText() const {
    double duration = 0.0;
    for (const auto& one : simulations_) duration = std::max(duration, one->Duration());
    return "sending as " + SensorsText() + "  " + Count(Sum(&Simulation::Frames), "frame") + "  " +
           Count(Sum(&Simulation::Packets), "packet") + "  " + Fixed(duration, 1) + " s";
  }

  std::string SceneText() const;
  static std::vector<std::string> Row(const SensorPlan& plan, const Simulation& simulation);

  const SimulateOptions& options_;
  const std::vector<SensorPlan>& plans_;
  const Console& console_;
  std::atomic<bool> failed_{false};  // one of them, so that all are to end
  std::vector<std::unique_ptr<Simulation>> simulations_;
};

std::string SensorGroup::SceneText() const {
  std::string blind;
  for (const SensorPlan& plan : plans_) {
    if (HasTrait(plan.options.model, &sim::SensorTraits::beams)) continue;
    blind += (blind.empty() ? "" : ", ") + plan.name;
  }
  return options_.scene +
         (blind.empty() ? "" : ", of which the packets of " + blind + " say nothing");
}

std::vector<std::string> SensorGroup::Row(const SensorPlan& plan, const Simulation& simulation) {
  const SimulateOptions& options = plan.options;
  const std::uint64_t faults = simulation.PacketsWithFaults();
  return {
      plan.name,
      options.model,
      options.out.value_or(options.transmission.to),
      options.serve.at ? "served at " + *options.serve.at : options.check_folder.value_or("none"),
      Grouped(simulation.Frames()),
      Grouped(simulation.WrittenOrSent()),
      faults > 0 ? Grouped(faults) : "none",
      simulation.Sends() ? Fixed(simulation.WorstDelay() * 1e3, 2) : "-"};
}

Report SensorGroup::MakeReport() {
  Table table = {"Sensors",
                 {"name", "model", "to", "calibration", "frames", "packets", "faults", "late [ms]"},
                 {false, false, false, false, true, true, true, true},
                 {}};
  Json sensors = Json::Array();
  bool interrupted = false;
  for (std::size_t i = 0; i < plans_.size(); ++i) {
    table.rows.push_back(Row(plans_[i], *simulations_[i]));
    Json one = {{"name", plans_[i].name}, {"seed", plans_[i].options.sensor.seed}};
    one.Update(simulations_[i]->MakeReport().AsJson());
    interrupted = interrupted || simulations_[i]->Interrupted();
    sensors.Add(std::move(one));
  }
  Report report;
  report.Add("config", "File", *options_.config, *options_.config);
  report.Add("scene", "Scene", options_.scene, SceneText());
  const double rate = options_.sensor.frame_rate_hz;
  report.Add("frame_rate_hz", "Frame rate", rate, Fixed(rate, 1) + " Hz");
  report.Add("interrupted", "", interrupted, "");
  report.Add("sensors", std::move(sensors), std::move(table));
  return report;
}

}  // namespace

ExitCode SimulateAll(const SimulateOptions& options, Console& console) {
  const SensorFile file = ReadSensorFile(*options.config);
  const std::vector<SensorPlan> plans = PlanSensors(options, file, console);
  const auto scene = sim::MakeScene(options.scene);
  if (!scene) throw Failure(ExitCode::kUsage, "there is no scene " + options.scene);
  CatchInterrupts();
  SensorGroup group(options, plans, console);
  group.Run(*scene);
  console.Print(group.MakeReport());
  group.RemarkOnDelay();
  group.RequireAll();
  return ExitCode::kDone;
}

}  // namespace orliq::cli
