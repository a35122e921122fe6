// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/RecordOptions.h"

#include <algorithm>
#include <memory>

#include "orliq/capture/Recording.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/network/ReceiveThread.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/Report.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/Silence.h"

namespace orliq::cli {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPass{50};      // between looks at limits and signals without packets
constexpr double kMegabyte = 1e6;      // [bytes]
constexpr std::size_t kBarCells = 10;  // leave room for the counts
constexpr milliseconds kPause{100};    // between two states of the progress line

RecordingLimits Limits(const RecordOptions& options) {
  RecordingLimits limits = {options.packets, {}};
  if (options.max_megabytes) {
    limits.bytes = static_cast<std::uint64_t>(*options.max_megabytes * kMegabyte);
  }
  return limits;
}

/// What stands on a terminal while it runs.
class Progress {
 public:
  explicit Progress(const ListenOptions& options)
      : options_(options), line_(options.quiet, kPause) {}

  void Show(const Recording& recording, double seconds) {
    if (!line_.Due()) return;
    auto share = recording.Share();
    if (options_.duration) share = std::max(share.value_or(0.0), seconds / *options_.duration);
    const std::string bar =
        share ? BarText(*share, kBarCells) + TimeLeftText(*share, seconds) + "  " : "";
    line_.Show("recording " + bar + Count(recording.Packets(), "packet") + "  " +
               Megabytes(recording.Bytes()) + "  " + Fixed(seconds, 1) + " s");
  }

 private:
  const ListenOptions& options_;
  StatusLine line_;
};

/// What a recording has come to.
struct Result {
  double seconds = 0.0;
  std::uint64_t dropped_by_kernel = 0;
  std::uint64_t dropped_by_queue = 0;
  std::uint64_t socket_buffer_bytes = 0;
  bool interrupted = false;  ///< by a signal, before any limit

  bool HasLosses() const { return dropped_by_kernel + dropped_by_queue > 0; }
};

/// Receives on a thread of its own and writes on this one until a limit or a signal.
Result Record(const ListenOptions& options, const ListenTime& time, UdpReceiver& socket,
              Recording& recording) {
  DatagramQueue queue;
  auto batch = queue.EmptyBatch();
  Progress progress(options);
  ReceiveThread receiving(socket, queue);
  bool room = true;
  while (room && !InterruptRequested() && !time.Over(recording.Packets() > 0)) {
    queue.Take(batch, kPass);
    room = recording.Add(batch);
    progress.Show(recording, time.Seconds());
  }
  Result result;
  result.interrupted = room && InterruptRequested();
  receiving.Stop();
  result.seconds = time.Seconds();  // with all the datagrams that are in the file
  queue.Take(batch, milliseconds(0));
  if (room) recording.Add(batch);
  recording.Finish();
  result.dropped_by_kernel = socket.Dropped();
  result.dropped_by_queue = queue.Lost();
  result.socket_buffer_bytes = socket.BufferBytes();
  return result;
}

std::string SenderText(const SenderCount& sender) {
  std::string text;
  for (const std::uint8_t octet : sender.address) {
    text += (text.empty() ? "" : ".") + std::to_string(octet);
  }
  return text + ':' + std::to_string(sender.port);
}

void AddSenders(Report& report, const std::vector<SenderCount>& senders) {
  Json list = Json::Array();
  Json packets = Json::Object();
  std::string text;
  for (const SenderCount& sender : senders) {
    list.Add(SenderText(sender));
    packets[SenderText(sender)] = sender.packets;
    text += (text.empty() ? "" : ", ") + SenderText(sender);
    if (senders.size() > 1) text += " (" + Count(sender.packets, "packet") + ')';
  }
  const char* const label = senders.size() > 1 ? "Senders" : "Sender";
  report.Add("senders", text.empty() ? "" : label, std::move(list), text);
  report.Add("packets_by_sender", "", std::move(packets), "");
}

Report MakeReport(const RecordOptions& options, const Recording& recording, const Result& result) {
  const std::uint64_t packets = recording.Packets();
  // By the wall clock, which may be set meanwhile; what it ran is not.
  const double span = std::clamp(recording.Span(), 0.0, result.seconds);
  const double rate = span > 0.0 ? static_cast<double>(packets - 1) / span : 0.0;
  const std::string where = EndpointText(options.listen.address, options.listen.port);
  Report report;
  AddReceptionRows(report, {where, result.seconds, span, packets, rate});
  report.Add("interrupted", "", result.interrupted, "");
  AddSenders(report, recording.Senders());
  report.Add("dropped_by_kernel", "Lost packets", result.dropped_by_kernel,
             NoneOr(result.dropped_by_kernel, "by the system", result.dropped_by_queue,
                    "waiting for the disk"));
  report.Add("dropped_by_queue", "", result.dropped_by_queue, "");
  report.Add("socket_buffer_bytes", "", result.socket_buffer_bytes, "");
  report.Add("capture", packets > 0 ? "Capture" : "", packets > 0 ? Json(options.out) : Json(),
             options.out + ", " + Megabytes(recording.Bytes()));
  report.Add("capture_bytes", "", packets > 0 ? recording.Bytes() : 0, "");
  return report;
}

}  // namespace

ExitCode RunRecord(const RecordOptions& options, Console& console) {
  const ListenOptions& listen = options.listen;
  console.SetQuiet(listen.quiet);
  CatchInterrupts();
  if (!options.force) RequireNoOtherFile(options.out);
  const ListenTime time(listen);  // from before the first datagram can come
  UdpReceiver socket(listen.address, listen.port, UdpReceiver::Sharing::kAlone);
  Recording recording(options.out, Limits(options));
  console.Note("listening on " + EndpointText(listen.address, listen.port) + ", Ctrl-C ends it");
  const Result result = Record(listen, time, socket, recording);
  console.Print(MakeReport(options, recording, result));
  if (recording.Packets() == 0) {
    throw Failure(ExitCode::kNoData,
                  WhyNothingArrived({listen.address, listen.port, result.seconds}, console));
  }
  if (recording.Senders().size() > 1) {
    console.Note("several senders sent to this port: orliq play --source chooses one by address");
  }
  if (!result.HasLosses()) return ExitCode::kDone;
  if (result.dropped_by_kernel > 0) console.Note(BufferAdvice(result.socket_buffer_bytes));
  return ExitCode::kLosses;
}

}  // namespace orliq::cli
