// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/SendOptions.h"

#include <charconv>
#include <limits>
#include <memory>

#include "orliq/capture/CaptureFile.h"
#include "orliq/capture/SurveyText.h"
#include "orliq/network/Transmission.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/StatusLine.h"
#include "simulator/sending/UdpFramer.h"

namespace orliq::cli {
namespace {

constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();
constexpr std::chrono::seconds kStatusPause{1};
constexpr double kPeriodWithoutTimes = 0.1;  // [s] of a round whose recorded times tell nothing

std::uint64_t ParseLoop(const std::string& text) {
  if (text == "forever") return kForever;
  std::uint64_t rounds = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, rounds);
  if (fault != std::errc() || stop != end || rounds < 1 || rounds > 1'000'000) {
    throw Failure(ExitCode::kUsage, "--loop " + text + ": write 1 to 1000000, or forever");
  }
  return rounds;
}

/// When the datagrams of a round were recorded.
struct RoundTime {
  std::uint64_t datagrams = 0;
  double first_s = 0.0;
  double last_s = 0.0;

  void Add(double time_s) {
    if (datagrams++ == 0) first_s = time_s;
    last_s = time_s;
  }
  /// Whether the times tell a pace.
  bool Usable() const { return datagrams < 2 || last_s > first_s; }
  /// [s] to the start of a next round, which follows like any packet follows the one before.
  double Period() const {
    const double span = last_s - first_s;
    const auto count = static_cast<double>(datagrams);
    return span > 0.0 ? span * count / (count - 1.0) : kPeriodWithoutTimes;
  }
};

/// Sends a capture's datagrams, round after round.
class Replay {
 public:
  Replay(const SendOptions& options, const Console& console)
      : options_(options),
        console_(console),
        rounds_(ParseLoop(options.loop)),
        transmission_(options.transmission, console) {}

  /// Until the last round is over, or until the user ends it.
  void Run() {
    found_.file_bytes = ReadableFileBytes(options_.capture);
    const bool forever = rounds_ == kForever;
    if (forever) {
      console_.Note("sending to " + transmission_.Target().text + ", Ctrl-C ends");
    }
    ProgressBar bar("sending", found_.file_bytes * (forever ? 1 : rounds_),
                    console_.Quiet() || forever);
    StatusLine line(console_.Quiet() || !forever, kStatusPause);
    do {
      SendRound(bar, line);
    } while (completed_ < rounds_ && time_.datagrams > 0 && !InterruptRequested());
    transmission_.Finish();
    if (!time_.Usable()) {
      console_.Note("the times of the capture tell no pace: its packets were sent at once");
    }
  }

  Report MakeReport() const {
    Report report;
    report.Add("capture", "Capture", options_.capture,
               options_.capture + ", " + Megabytes(found_.file_bytes));
    report.Add("records", "Records", found_.records, Grouped(found_.records));
    report.Add("rounds", "Rounds", completed_,
               Grouped(completed_) + (rounds_ == kForever ? "" : " of " + Grouped(rounds_)));
    report.Add("interrupted", "", Interrupted(), "");
    transmission_.Add(report);
    report.Add("usable_times", "", time_.Usable(), "");
    const LostRecords lost = FindLostRecords(found_.skipped);
    report.Add("unreadable_packets", lost.empty() ? "" : "Unreadable", LostJson(lost),
               LostText(lost));
    report.Add("fault", "", found_.fault, "");
    AddSkipped(report, found_);
    return report;
  }

  /// Throws Failure when nothing was sent, or not all of the datagrams that the capture holds.
  /// Records that hold none, or one for another port, are no loss: the report counts them.
  void RequireAllSent() const {
    if (!found_.fault.empty()) {
      throw Failure(time_.datagrams == 0 ? ExitCode::kFileFault : ExitCode::kLosses,
                    options_.capture + ' ' + FaultText(found_));
    }
    if (time_.datagrams == 0 && !InterruptRequested()) ThrowNothingToSend();
    transmission_.RemarkOnDelay(console_);
    transmission_.RequireAllSent();
    if (Interrupted() && rounds_ != kForever) {
      throw Failure(ExitCode::kLosses,
                    "interrupted in round " + Grouped(completed_ + 1) + " of " + Grouped(rounds_));
    }
    const LostRecords lost = FindLostRecords(found_.skipped);
    if (!lost.empty()) {
      throw Failure(ExitCode::kLosses, "packets could not be sent: " + LostText(lost));
    }
  }

 private:
  bool Interrupted() const { return completed_ < rounds_ && InterruptRequested(); }

  [[noreturn]] void ThrowNothingToSend() const {
    const std::string port = options_.port == 0 ? "" : " to port " + std::to_string(options_.port);
    throw Failure(ExitCode::kNoData, "the capture holds no UDP packet" + port +
                                         " that can be sent: orliq info shows what it holds");
  }

  void SendRound(ProgressBar& bar, StatusLine& line) {
    CaptureFile capture(options_.capture);
    while (!InterruptRequested() && capture.Next()) {
      const auto content = capture.Content({options_.port, sim::UdpFramer::kMaxPayload});
      if (completed_ == 0) Note(capture, content);
      if (const auto* const datagram = std::get_if<Datagram>(&content)) {
        transmission_.Send(datagram->payload, datagram->payload_bytes, capture.Time() + offset_s_);
      }
      bar.Update(completed_ * found_.file_bytes + capture.Position());
      if (line.Due()) line.Show(StatusText());
    }
    found_.fault = capture.Fault();
    if (InterruptRequested()) return;
    ++completed_;
    offset_s_ += time_.Period();
  }

  std::string StatusText() const {
    return "sending to " + transmission_.Target().text + "  round " + Grouped(completed_ + 1) +
           "  " + Count(transmission_.Packets(), "packet");
  }

  void Note(const CaptureFile& capture, const std::variant<Skip, Datagram>& content) {
    found_.records = capture.Records();
    if (const auto* const reason = std::get_if<Skip>(&content)) {
      ++found_.skipped[static_cast<std::size_t>(*reason)];
    } else {
      time_.Add(capture.Time());
    }
  }

  const SendOptions& options_;
  const Console& console_;
  std::uint64_t rounds_;
  std::uint64_t completed_ = 0;
  CaptureSurvey found_;    // in the first round, its flows left out
  RoundTime time_;         // of the first round
  double offset_s_ = 0.0;  // of the present round
  Transmission transmission_;
};

}  // namespace

ExitCode RunSend(const SendOptions& options, Console& console) {
  CatchInterrupts();
  Replay replay(options, console);
  replay.Run();
  console.Print(replay.MakeReport());
  replay.RequireAllSent();
  return ExitCode::kDone;
}

}  // namespace orliq::cli
