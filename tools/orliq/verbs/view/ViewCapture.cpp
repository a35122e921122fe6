// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewCapture.h"

#include <chrono>
#include <utility>
#include <vector>

#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/RoundPlayer.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/PlayedCaptures.h"
#include "orliq/verbs/view/CapturePlayer.h"
#include "orliq/verbs/view/Notices.h"
#include "orliq/verbs/view/ViewSite.h"

namespace orliq::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLedgerPause{1};

template <typename Cloud>
class Projection {
 public:
  Projection(const ViewOptions& options, PlayedCaptures captures, Notices& notices,
             Console& console)
      : options_(options),
        captures_(std::move(captures)),
        notices_(notices),
        console_(console),
        player_(captures_.sensors) {}

  ExitCode Run() {
    for (const std::string& remark : captures_.remarks) console_.Note(remark);
    if (!player_.Open()) throw Failure(ExitCode::kLosses, "interrupted before a frame was shown");
    const ViewedSource source = Describe();
    ViewSite site(options_, source, console_);
    CapturePlayer shown(
        source.entries, [this](int round) { return Play(round); }, site.Hub());
    shown.Run([&] { TellLedger(site); });
    Report report;
    site.AddRows(report);
    console_.Print(report);
    return ExitCode::kDone;
  }

 private:
  ViewedSource Describe() const {
    ViewedSource source;
    source.title = captures_.title;
    source.point = options_.live.cloud.output.point;
    source.entries = static_cast<int>(player_.Rounds());
    for (const FramesWanted& sensor : captures_.sensors) {
      source.sensors.push_back({sensor.name, sensor.model, sensor.param});
    }
    return source;
  }

  std::optional<TakenCloud> Play(int round) {
    TakenCloud taken;
    const auto cloud = player_.Play(static_cast<std::size_t>(round), taken.parts);
    if (!cloud) return std::nullopt;
    taken.view = View(*cloud);
    taken.owner = cloud;
    return taken;
  }

  void TellLedger(ViewSite& site) {
    const Clock::time_point now = Clock::now();
    if (!notices_.SetSilence({}) && now < ledger_due_) return;
    ledger_due_ = now + kLedgerPause;
    std::vector<NamedLedger> ledgers;
    for (std::size_t i = 0; i < captures_.sensors.size(); ++i) {
      const FramesWanted& sensor = captures_.sensors[i];
      const lidar::DriverStatistics counts = player_.Statistics(i);
      ledgers.push_back({sensor.name, {sensor.model, counts, counts.frames, true, counts.decoded}});
    }
    site.Hub().TellLedger(LedgerText(ledgers, notices_.All()));
    site.Tell(ledgers, {});
  }

  const ViewOptions& options_;
  const PlayedCaptures captures_;
  Notices& notices_;
  Console& console_;
  RoundPlayer<Cloud> player_;
  Clock::time_point ledger_due_;
};

ExitCode Show(const ViewOptions& options, PlayedCaptures captures, Notices& notices,
              Console& console) {
  const OutputOptions& output = options.live.cloud.output;
  if (output.verbose) console.ShowLibraryLines();
  return WithCloudType(output.point, [&](auto type) {
    using Cloud = typename decltype(type)::Cloud;
    return Projection<Cloud>(options, std::move(captures), notices, console).Run();
  });
}

}  // namespace

ExitCode ViewCapture(const ViewOptions& options, Console& console) {
  Notices notices(console);
  return Show(options, OneCapture(options, "shown", console), notices, console);
}

ExitCode ViewCaptures(const ViewOptions& options, const SensorFile& file, Console& console) {
  Notices notices(console);
  return Show(options, SeveralCaptures(options, file, console), notices, console);
}

}  // namespace orliq::cli
