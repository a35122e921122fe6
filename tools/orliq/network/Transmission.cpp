// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/Transmission.h"

#include <utility>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr double kNoticeableDelay = 0.1;  // [s] longer than an idle machine ever makes one wait

std::unique_ptr<sim::UdpSender> OpenSender(const HostPort& target, const std::string& source) {
  std::string error;
  auto sender = sim::UdpSender::Create(target.address, target.port, error, source);
  if (!sender) {
    throw Failure(ExitCode::kFileFault, "cannot send to " + target.text + ": " + error);
  }
  return sender;
}
}  // namespace

Option AddTransmissionOptions(CommandLine& command, TransmissionOptions& options) {
  const std::string group = "Sending";
  const Option to =
      command.Add("--to", options.to, "HOST:PORT that gets the packets by UDP").Group(group);
  command.Add("--speed", options.speed, "times the true pace, 0.01 to 1000")
      .Within(0.01, 1000.0)
      .ShowDefault()
      .Needs(to)
      .Group(group);
  command
      .Add("--burst", options.burst,
           "packets sent back to back, followed by a pause; 1 spreads them evenly")
      .Within(1, 10000)
      .ShowDefault()
      .Needs(to)
      .Group(group);
  return to;
}

Transmission::Transmission(const TransmissionOptions& options, const Console& console,
                           std::function<bool()> stop)
    : console_(console),
      target_(ParseHostPort("--to", options.to)),
      sender_(OpenSender(target_, options.source)),
      pacer_(options.speed, clock_, std::move(stop)),
      paced_(*sender_, pacer_, options.burst) {}

void Transmission::Send(const std::uint8_t* payload, std::size_t size, double time_s) {
  paced_.Add(payload, size, time_s);
  RemarkOnFailure();
}

void Transmission::Finish() {
  paced_.Finish();
  RemarkOnFailure();
}

void Transmission::RemarkOnFailure() {
  if (remarked_ || sender_->Failed() == 0) return;
  remarked_ = true;
  console_.Note("a packet could not be sent to " + target_.text + ": " + sender_->FirstError());
}

double Transmission::WorstDelay() const {
  return std::chrono::duration<double>(pacer_.WorstDelay()).count();
}

void Transmission::Add(Report& report) const {
  const double seconds = paced_.Seconds();
  const double delay = WorstDelay();
  const std::uint64_t packets = sender_->Datagrams();
  report.Add("to", "Sent", target_.address + ':' + std::to_string(target_.port),
             Count(packets, "packet") + ", " + Megabytes(sender_->Bytes()) + " to " + target_.text);
  report.Add("packets_sent", "", packets, "");
  report.Add("bytes_sent", "", sender_->Bytes(), "");
  report.Add("packets_not_sent", "", sender_->Failed(), "");
  report.Add("send_error", "", sender_->FirstError(), "");
  report.Add("send_seconds", "", seconds, "");
  report.Add("packets_per_s", "Pace", paced_.Rate(),
             Fixed(paced_.Rate(), 1) + " packets/s for " + Fixed(seconds, 3) + " s, worst packet " +
                 Fixed(delay * 1e3, 2) + " ms late");
  report.Add("worst_delay_s", "", delay, "");
  const std::uint64_t pauses = pacer_.ShortenedPauses();
  report.Add("shortened_pauses", pauses > 0 ? "Pauses" : "", pauses,
             Grouped(pauses) + " of more than 2 s, counted as 2 s");
}

void Transmission::RemarkOnDelay(const Remarks& remarks) const {
  const double delay = WorstDelay();
  if (delay <= kNoticeableDelay) return;
  remarks.Note("packets to " + target_.text + " left up to " + Fixed(delay, 2) +
               " s behind their time: if that was no passing disturbance, lower --speed");
}

void Transmission::RequireAllSent() const {
  if (sender_->Failed() == 0) return;
  throw Failure(ExitCode::kLosses, Count(sender_->Failed(), "packet") + " could not be sent to " +
                                       target_.text + ": " + sender_->FirstError());
}

}  // namespace orliq::cli
