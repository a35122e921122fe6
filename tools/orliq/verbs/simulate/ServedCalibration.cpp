// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/ServedCalibration.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/CommonRows.h"
#include "simulator/sensors/CheckImage.h"

namespace orliq::cli {
namespace {

using sim::ReplyFault;

constexpr double kLongestTime = 3600.0;  // [s]
constexpr std::chrono::seconds kStatusPause{1};
constexpr std::chrono::milliseconds kLook{100};  // for a signal and the time of a status line

std::string WhyNotServed(const HostPort& where, const std::string& setting,
                         const std::error_code& error) {
  const std::string port = std::to_string(where.port);
  if (error == std::errc::address_in_use) {
    return "another program holds UDP port " + port + ": end it (" + SocketOwnerHint(where.port) +
           ") or give " + setting + " another port";
  }
  if (error == std::errc::permission_denied) {
    return "UDP port " + port + " needs privileges: give " + setting + " one above 1023";
  }
  if (error == std::errc::address_not_available) {
    return where.address + " is no address of this machine, which has " + LocalAddressText() +
           ": give " + setting + " one of them";
  }
  return "cannot serve at " + where.text + ": " + error.message();
}

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1e3));
}

std::unique_ptr<sim::ParamServer> Serve(const ServeOptions& options, const HostPort& where,
                                        std::uint64_t seed, std::vector<std::uint8_t> image) {
  sim::ParamServerOptions server;
  server.address = where.address;
  server.port = where.port;
  server.seed = seed;
  server.rates = options.faults;
  server.delay = Milliseconds(options.delay);
  server.silence = Milliseconds(options.silence);
  server.restart_after = options.restart_after;
  server.down = Milliseconds(options.down);
  std::error_code error;
  auto serving = sim::ParamServer::Create(server, std::move(image), error);
  if (!serving) throw Failure(ExitCode::kFileFault, WhyNotServed(where, options.setting, error));
  return serving;
}

/// The options for what goes wrong with the replies; all need --serve-params.
class ReplyFaultOptions {
 public:
  ReplyFaultOptions(CommandLine& command, Option serve, ServeOptions& options)
      : command_(command), serve_(serve), options_(options) {}

  void Add() {
    Share("--drop-replies", ReplyFault::kLost, "share of replies lost");
    Share("--silence", ReplyFault::kSilence, "share of requests that a silence begins with");
    Seconds("--silence-time", options_.silence, "[s] without an answer to any request");
    Share("--short-replies", ReplyFault::kShort, "share of replies cut below 39 bytes");
    Share("--wrong-marker", ReplyFault::kWrongMarker, "share of replies with a damaged marker");
    Share("--wrong-total", ReplyFault::kWrongTotal, "share of replies that tell a wrong size");
    Share("--delay-replies", ReplyFault::kDelayed, "share of replies that come late");
    Seconds("--reply-delay", options_.delay, "[s] by which they come late");
    Share("--duplicate-replies", ReplyFault::kDuplicated, "share of replies that come twice");
    Share("--swap-replies", ReplyFault::kSwapped, "share of replies that the next one overtakes");
    InGroup(command_
                .Add("--restart-after", options_.restart_after,
                     "replies after which the sensor restarts once")
                .Within(1, 1000000000));
    Seconds("--down-time", options_.down, "[s] during which nobody answers then");
  }

 private:
  void InGroup(Option option) const {
    option.Needs(serve_).Group(
        "Faults of --serve-params (shares of replies, 0 to 1; the first that hits counts)");
  }

  void Share(const char* name, ReplyFault fault, const char* text) {
    InGroup(command_.Add(name, options_.faults[fault], text).Within(0.0, 1.0));
  }

  void Seconds(const char* name, double& value, const char* text) {
    InGroup(command_.Add(name, value, text).Within(0.0, kLongestTime).ShowDefault());
  }

  CommandLine& command_;
  Option serve_;
  ServeOptions& options_;
};

void AddReplyFaults(Report& report, const sim::ReplyFaultCounts& faults) {
  AddFaultRows(report, "reply_faults", "Replies with faults",
               {{"lost", "lost", faults[ReplyFault::kLost]},
                {"silent", "left out in a silence", faults[ReplyFault::kSilence]},
                {"short", "cut short", faults[ReplyFault::kShort]},
                {"wrong_marker", "with a wrong marker", faults[ReplyFault::kWrongMarker]},
                {"wrong_total", "with a wrong size", faults[ReplyFault::kWrongTotal]},
                {"delayed", "delayed", faults[ReplyFault::kDelayed]},
                {"duplicated", "sent twice", faults[ReplyFault::kDuplicated]},
                {"swapped", "overtaken by the next", faults[ReplyFault::kSwapped]}});
}

}  // namespace

void AddServeOptions(CommandLine& command, ServeOptions& options, const std::string& only_for) {
  const std::string text =
      "[HOST:]PORT that answers requests for the calibration by UDP, as long as packets are sent, "
      "else until Ctrl-C; without HOST on 127.0.0.1";
  const Option serve =
      command.AddText("--serve-params", options.at, text + only_for).Group("Sending");
  ReplyFaultOptions(command, serve, options).Add();
}

bool AsksForReplyFaults(const ServeOptions& options) {
  const auto& rates = options.faults.values;
  return options.restart_after > 0 ||
         std::any_of(rates.begin(), rates.end(), [](double rate) { return rate > 0.0; });
}

HostPort ServedAt(const ServeOptions& options) {
  const std::string& option = options.setting;
  std::string at = *options.at;
  if (at.find(':') != std::string::npos) return ParseHostPort(option, at);
  const bool digits = at.find_first_not_of("0123456789") == std::string::npos;
  if (!digits || !IsWithin(at, 1, 65535)) {
    throw Failure(ExitCode::kUsage, option + ' ' + (at.empty() ? "\"\"" : at) +
                                        ": write a port from 1 to 65535, or an address, a colon "
                                        "and a port, such as 127.0.0.1:2400");
  }
  // Without a host, calibration is for programs of this machine.
  return ParseHostPort(option, "127.0.0.1:" + at);
}

ServedCalibration::ServedCalibration(const ServeOptions& options, const sim::Sensor& sensor,
                                     std::uint64_t seed, const Console& console)
    : where_(ServedAt(options)) {
  auto image = sim::CheckImage(sensor.Tables());
  image_bytes_ = image.size();
  server_ = Serve(options, where_, seed, std::move(image));
  console.Note("serving the calibration at " + EndpointText(where_.address, where_.port));
}

void ServedCalibration::WaitForInterrupt(const Console& console) const {
  console.Note("Ctrl-C ends it");
  StatusLine line(console.Quiet(), kStatusPause);
  while (!cli::WaitForInterrupt(kLook)) {
    if (line.Due()) line.Show("serving the calibration: " + StatusText());
  }
}

std::string ServedCalibration::StatusText() const {
  const sim::ParamServerCounts counts = server_->Counts();
  const std::uint64_t percent = counts.image_bytes_served % image_bytes_ * 100 / image_bytes_;
  return Count(counts.requests, "request") + ", " + Count(counts.images, "image") + " served" +
         (percent > 0 ? ", " + std::to_string(percent) + " % of the next" : "");
}

void ServedCalibration::Finish(Report& report) {
  server_->Stop();
  const sim::ParamServerCounts counts = server_->Counts();
  const std::string where = EndpointText(where_.address, where_.port);
  report.Add("served_at", "Calibration", where, "served at " + where);
  report.Add("image_bytes", "", image_bytes_, "");
  report.Add("images_served", "Images", counts.images,
             Grouped(counts.images) + " served completely, of " + Megabytes(image_bytes_));
  report.Add("requests", "Requests", counts.requests,
             Grouped(counts.requests) +
                 (counts.invalid > 0 ? ", and " + Count(counts.invalid, "other datagram") : ""));
  report.Add("invalid_requests", "", counts.invalid, "");
  report.Add("replies", "Replies", counts.replies,
             Grouped(counts.replies) + ", " + Megabytes(counts.bytes));
  report.Add("reply_bytes", "", counts.bytes, "");
  report.Add("replies_not_sent", "", counts.not_sent, "");
  report.Add("restarts", counts.restarts > 0 ? "Restarts" : "", counts.restarts,
             Grouped(counts.restarts));
  AddReplyFaults(report, counts.faults);
}

}  // namespace orliq::cli
