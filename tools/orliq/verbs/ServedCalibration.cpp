// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/ServedCalibration.h"

#include <chrono>
#include <cmath>
#include <utility>

#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/CommonRows.h"
#include "simulator/sensors/CheckImage.h"

namespace orliq::cli {
namespace {

using sim::ReplyFault;

constexpr double kLongestTime = 3600.0;  // [s]
constexpr std::chrono::seconds kStatusPause{1};
constexpr std::chrono::milliseconds kLook{100};  // for a signal and the time of a status line

/// Without a host, calibration is for programs of this machine.
HostPort ParseServed(const std::string& at) {
  const bool has_host = at.find(':') != std::string::npos;
  return ParseHostPort("--serve-params", has_host ? at : "127.0.0.1:" + at);
}

std::string WhyNotServed(const HostPort& where, const std::error_code& error) {
  const std::string port = std::to_string(where.port);
  if (error == std::errc::address_in_use) {
    return "another program holds UDP port " + port + ": end it (" + SocketOwnerHint(where.port) +
           ") or give --serve-params another port";
  }
  if (error == std::errc::permission_denied) {
    return "UDP port " + port + " needs privileges: give --serve-params one above 1023";
  }
  if (error == std::errc::address_not_available) {
    return where.address + " is no address of this machine, which has " + LocalAddressText() +
           ": give --serve-params one of them";
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
  if (!serving) throw Failure(ExitCode::kFileFault, WhyNotServed(where, error));
  return serving;
}

}  // namespace

void AddServeOptions(CLI::App& command, ServeOptions& options, const std::string& only_for) {
  CLI::Option* const serve =
      command
          .add_option_function<std::string>(
              "--serve-params", [&options](const std::string& at) { options.at = at; },
              "[HOST:]PORT that answers requests for the calibration by UDP, as long as packets "
              "are "
              "sent, else until Ctrl-C; without HOST on 127.0.0.1" +
                  only_for)
          ->group("Sending");
  const std::string group =
      "Faults of --serve-params (shares of replies, 0 to 1; the first that hits counts)";
  const auto share = [&](const char* name, ReplyFault fault, const char* text) {
    command.add_option(name, options.faults[fault], text)
        ->check(Within(0.0, 1.0))
        ->needs(serve)
        ->group(group);
  };
  const auto seconds = [&](const char* name, double& value, const char* text) {
    command.add_option(name, value, text)
        ->check(Within(0.0, kLongestTime))
        ->capture_default_str()
        ->needs(serve)
        ->group(group);
  };
  share("--drop-replies", ReplyFault::kLost, "share of replies lost");
  share("--silence", ReplyFault::kSilence, "share of requests that a silence begins with");
  seconds("--silence-time", options.silence, "[s] without an answer to any request");
  share("--short-replies", ReplyFault::kShort, "share of replies cut below 39 bytes");
  share("--wrong-marker", ReplyFault::kWrongMarker, "share of replies with a damaged marker");
  share("--wrong-total", ReplyFault::kWrongTotal, "share of replies that tell a wrong size");
  share("--delay-replies", ReplyFault::kDelayed, "share of replies that come late");
  seconds("--reply-delay", options.delay, "[s] by which they come late");
  share("--duplicate-replies", ReplyFault::kDuplicated, "share of replies that come twice");
  share("--swap-replies", ReplyFault::kSwapped, "share of replies that the next one overtakes");
  command
      .add_option("--restart-after", options.restart_after,
                  "replies after which the sensor restarts once")
      ->check(Within(1, 1000000000))
      ->needs(serve)
      ->group(group);
  seconds("--down-time", options.down, "[s] during which nobody answers then");
}

ServedCalibration::ServedCalibration(const ServeOptions& options, const sim::Sensor& sensor,
                                     std::uint64_t seed, const Console& console)
    : where_(ParseServed(*options.at)) {
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
  const auto& faults = counts.faults;
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

}  // namespace orliq::cli
