// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/network/UdpReceiver.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/LiveTally.h"
#include "orliq/verbs/Silence.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kPass{20};  // between looks at the counts
constexpr std::chrono::seconds kStatusPause{1};
constexpr std::uint64_t kDoubtfulFrames = 5;  // without a measured point, until a remark says so

struct Options {
  CloudOptions cloud;
  ListenOptions listen;
  FrameChoice choice;
};

lidar::DriverParam MakeParam(const Options& options, const Model& model) {
  lidar::DriverParam param = MakeDriverParam(options.cloud, model);
  param.input_type = lidar::InputType::Socket;
  param.input_param.local_ip = options.listen.address;
  param.input_param.port = options.listen.port;
  return param;
}

/// Waiting for a frame that never comes would have no end.
void RequireFramesToCome(const Options& options, const Model& model) {
  if (model.delivers_frames || !options.choice.frames) return;
  throw Failure(ExitCode::kUsage, std::string(model.name) +
                                      " packets complete no frame, so --frames would never end: "
                                      "use --duration");
}

/// Null when no files are wanted.
std::unique_ptr<CloudSaver> MakeSaver(const Options& options) {
  const auto& [out, format, force] =
      std::tie(options.cloud.out, options.cloud.format, options.cloud.force);
  if (out.empty()) return nullptr;
  if (options.choice.frames != 1 && ExamineTarget(out, format, force).single_file) {
    throw Failure(ExitCode::kUsage, "--out " + out +
                                        " is one file, which takes one frame: name a "
                                        "folder, or add --frames 1");
  }
  return std::make_unique<CloudSaver>(out, format, force);
}

/// The driver tells only that a port cannot be had. Bound as the driver does it, a socket tells why.
void RequirePort(const ListenOptions& listen, const Console& console) {
  const UdpReceiver trial(listen.address, listen.port, UdpReceiver::Sharing::kShared);
  if (ForeignSockets(listen.port) == 0) return;
  console.Note("another socket has UDP port " + std::to_string(listen.port) +
               " bound too: a packet goes to one of the two only (" + SocketOwnerHint(listen.port) +
               ')');
}

/// Gathers the counts of a source and times it from its first packet to its last.
class Watcher {
 public:
  Watcher(const Options& options, const Model& model, const LiveSource& source,
          const Console& console)
      : source_(source),
        model_(model),
        console_(console),
        any_sender_(options.choice.source.empty()),
        time_(options.listen),
        line_(options.listen.quiet, kStatusPause) {}

  void Look() {
    counts_ = source_.Counts();
    now_ = time_.Seconds();
    const auto& packets = counts_.packets;
    if (packets.received > 0) last_ = now_ - packets.last_packet_age_s;
    if (packets.received > 0 && first_ < 0.0) {
      first_ = last_;
      by_first_look_ = packets.received;
    }
    WarnOfMixture();
    WarnOfFault();
    WarnOfNothing(kDoubtfulFrames);
  }

  /// The last look, when the source has stopped.
  void Conclude() {
    Look();
    WarnOfNothing(1);
    WarnOfNoFrame();
  }

  void Show() {
    if (!line_.Due()) return;
    line_.Show(LiveStatusText(shown_, counts_, now_ - shown_at_));
    shown_ = counts_;
    shown_at_ = now_;
  }

  bool Over() const { return source_.Complete() || time_.Over(counts_.packets.decoded > 0); }

  LiveTally Tally() const {
    LiveTally tally;
    tally.counts = counts_;
    tally.interrupted = InterruptRequested() && !Over();
    Reception& reception = tally.reception;
    reception.seconds = now_;
    reception.active = last_ - first_;
    reception.packets = counts_.packets.received;
    const auto packets = static_cast<double>(reception.packets - by_first_look_);
    if (reception.active > 0.0) reception.packets_per_s = packets / reception.active;
    return tally;
  }

 private:
  // Once each, as soon as it shows: the user need not wait for the end to mend it.
  void WarnOfMixture() {
    if (warned_ || !any_sender_ || counts_.packets.of_other_senders == 0) return;
    warned_ = true;
    console_.Note(MixedSendersText(counts_.packets));
  }

  void WarnOfFault() {
    if (fault_told_ || counts_.not_written.faults == 0) return;
    fault_told_ = true;
    console_.Note(counts_.not_written.first_fault);
  }

  /// Empty frames are none that --frames counts: without a word the user would wait for ever.
  void WarnOfNothing(std::uint64_t at_least) {
    const std::uint64_t clouds = counts_.frames + counts_.empty_frames;
    if (nothing_told_ || clouds < at_least) return;
    const std::string text = NothingMeasuredText(model_, clouds, counts_.non_zero);
    nothing_told_ = !text.empty();
    console_.Note(text);
  }

  void WarnOfNoFrame() {
    const std::uint64_t packets = counts_.packets.decoded;
    const bool any = counts_.frames + counts_.empty_frames + counts_.partial_points > 0;
    if (any || packets == 0 || !model_.delivers_frames) return;
    console_.Note("no frame has ended in " + Count(packets, "packet") +
                  ": they are too few, or perhaps not of " + model_.name +
                  " (orliq info tells what recorded ones look like)");
  }

  const LiveSource& source_;
  const Model& model_;
  const Console& console_;
  bool any_sender_;  // no --source was given
  bool warned_ = false;
  bool fault_told_ = false;
  bool nothing_told_ = false;
  ListenTime time_;
  StatusLine line_;
  LiveCounts counts_;
  double now_ = 0.0;                 // [s] of `counts_`, as all times since the start
  double first_ = -1.0;              // of a packet; negative before any
  double last_ = -1.0;               // likewise
  std::uint64_t by_first_look_ = 0;  // packets
  LiveCounts shown_;
  double shown_at_ = 0.0;
};

/// Looks at the counts until it is time to end.
LiveTally Watch(const Options& options, const Model& model, LiveSource& source,
                const Console& console) {
  Watcher watcher(options, model, source, console);
  while (!watcher.Over() && !WaitForInterrupt(kPass)) {
    watcher.Look();
    watcher.Show();
  }
  source.Stop();
  watcher.Conclude();
  return watcher.Tally();
}

/// Writes what waits, and says the first fault, unless it came while the watcher looked.
void FinishFiles(CloudSaver& saver, const std::string& out, const Console& console,
                 LiveTally& tally) {
  saver.Finish();
  tally.files = FilesText(saver.Writer(), out);
  tally.files_written = saver.Writer().Files();
  CloudSaver::Losses& told = tally.counts.not_written;
  const CloudSaver::Losses found = saver.Found();
  if (told.faults == 0 && found.faults > 0) console.Note(found.first_fault);
  told = found;
}

LiveTally Listen(const Options& options, const Model& model, Console& console) {
  const lidar::DriverParam param = MakeParam(options, model);
  RequireCalibration(model, options.cloud.check_folder, console);
  RequirePort(options.listen, console);
  const auto saver = MakeSaver(options);
  if (options.cloud.verbose) console.ShowLibraryLines();
  const auto source = WithCloudType(options.cloud.point, [&](auto type) {
    using Source = DriverSource<typename decltype(type)::Cloud>;
    return std::unique_ptr<LiveSource>(std::make_unique<Source>(options.choice, saver.get()));
  });
  const std::string where = EndpointText(options.listen.address, options.listen.port);
  if (!source->Open(param)) {
    throw Failure(ExitCode::kFileFault, "the driver cannot listen on " + where);
  }
  console.Note("listening on " + where + ", Ctrl-C ends it");
  console.Note(NoPointsText(model));
  console.Note(TransformRemark(options.cloud, model));
  LiveTally tally = Watch(options, model, *source, console);
  tally.model = &model;
  tally.source = options.choice.source;
  tally.keeps_partial = options.choice.partial;
  tally.reception.listened_on = where;
  if (saver) FinishFiles(*saver, options.cloud.out, console, tally);
  return tally;
}

/// Says what the table's losses mean.
void Explain(const LiveTally& tally, const Console& console) {
  const auto& packets = tally.counts.packets;
  if (packets.dropped_by_kernel > 0) console.Note(BufferAdvice(packets.socket_buffer_bytes));
  if (packets.refused_length + packets.refused_identifier > 0) {
    console.Note(
        "packets of other kinds came to the port: orliq record keeps them, and orliq info "
        "then tells who sent them");
  }
}

ExitCode Run(const Options& options, Console& console) {
  console.SetQuiet(options.listen.quiet);
  const Model& model = KnownModel(options.cloud.model);
  RequireFramesToCome(options, model);
  CatchInterrupts();
  const LiveTally tally = Listen(options, model, console);
  console.Print(tally.MakeReport());
  const auto& packets = tally.counts.packets;
  if (packets.decoded == 0) {
    throw Failure(
        ExitCode::kNoData,
        WhyNothingArrived({options.listen.address, options.listen.port, tally.reception.seconds,
                           &model, packets.received, packets.refused_length,
                           packets.last_refused_length, options.choice.source, packets.other_source,
                           SenderText(packets.first_sender)}));
  }
  Explain(tally, console);
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace

Verb AddLive(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand(
      "live", "Decodes the packets of a live sensor and writes its frames as clouds.");
  AddCloudOptions(*command, options->cloud);
  AddListenOptions(*command, options->listen);
  command->add_option("--frames", options->choice.frames, "stop after that many frames")
      ->check(Within(1.0, 1e9));
  command->add_flag("--partial", options->choice.partial,
                    "count and write the first frame too, of which the beginning is missing");
  command
      ->add_option("--source", options->choice.source,
                   "IPv4 address of the sensor: packets of all others are passed over")
      ->check(HostAddress());
  command->footer(
      ModelTable() +
      "\nIt runs until a limit, Ctrl-C or SIGTERM and then prints its table. Frames are counted "
      "from 0, which is the partial one, and their files are named after that.\n\n"
      "Example:\n"
      "  orliq live --model juniq --port 2368 --check-folder room-check --frames 50 \\\n"
      "      --out frames --format pcd");
  return {command, [options](Console& console) { return Run(*options, console); }};
}

}  // namespace orliq::cli
