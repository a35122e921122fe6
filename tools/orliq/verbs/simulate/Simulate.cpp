// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <utility>

#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/verbs/simulate/SimulateAll.h"
#include "orliq/verbs/simulate/SimulateOptions.h"
#include "orliq/verbs/simulate/Simulation.h"
#include "simulator/scene/Scene.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kStatusPause{1};

void RunWithProgress(Simulation& simulation, const Console& console) {
  const SimulateOptions& options = simulation.Options();
  if (!options.frames) {
    console.Note("sending to " + options.transmission.to + ", Ctrl-C ends");
  }
  simulation.AwaitFirstFrame();
  simulation.StartAt(sim::MonotonicClock().Now() + UntilStart(options));
  ProgressBar bar("simulating", options.frames.value_or(0), options.quiet || !options.frames);
  StatusLine line(options.quiet || options.frames, kStatusPause);
  simulation.Run([&] {
    bar.Update(simulation.Frames());
    if (line.Due()) line.Show(simulation.StatusText());
  });
}

ExitCode SimulateOne(SimulateOptions options, Console& console) {
  CompleteSimulateOptions(options);
  const auto scene = sim::MakeScene(options.scene);
  auto sensor = sim::MakeSensor(options.model, options.sensor);
  if (!scene || !sensor) throw Failure(ExitCode::kUsage, "these options fit no sensor or scene");
  FitToSensor(options, *sensor, console);
  CatchInterrupts();
  Simulation simulation(std::move(options), std::move(sensor), console, &InterruptRequested);
  simulation.Begin(*scene);
  if (simulation.HasPackets()) RunWithProgress(simulation, console);
  const ServedCalibration* const served = simulation.Served();
  if (served != nullptr && !simulation.Sends()) served->WaitForInterrupt(console);
  console.Print(simulation.MakeReport());
  simulation.RemarkOnDelay(console);
  simulation.RequireAllSent();
  simulation.RequireAllFrames();
  return ExitCode::kDone;
}

}  // namespace

ExitCode RunSimulate(const SimulateOptions& options, Console& console) {
  console.SetQuiet(options.quiet);
  return options.config ? SimulateAll(options, console) : SimulateOne(options, console);
}

}  // namespace orliq::cli
