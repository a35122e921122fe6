// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/UploadRemarks.h"

#include <algorithm>

#include "orliq/capture/UdpRecord.h"

namespace orliq::cli {
namespace {

using lidar::UploadState;
using lidar::UploadStatistics;

const char* StateName(UploadState state) {
  switch (state) {
    case UploadState::None:
      break;
    case UploadState::Asking:
      return "asking";
    case UploadState::Receiving:
      return "receiving";
    case UploadState::Received:
      return "received";
    case UploadState::InUse:
      return "in_use";
  }
  return "none";
}

std::string SensorText(const UploadStatistics& upload) {
  return Endpoint(upload.sensor.address, upload.sensor.port);
}

Json UploadJson(const UploadStatistics& upload) {
  return {{"state", StateName(upload.state)},
          {"total_bytes", upload.total_bytes},
          {"received_bytes", upload.received_bytes},
          {"duration_s", upload.duration_s < 0.0 ? Json() : Json(upload.duration_s)},
          {"decoded_before_use", upload.decoded_before_use},
          {"requests", upload.requests},
          {"repeated", upload.repeated},
          {"send_errors", upload.send_errors},
          {"replies", upload.replies},
          {"wrong_marker", upload.wrong_marker},
          {"unusable", upload.unusable},
          {"discarded", upload.discarded},
          {"other_source", upload.other_source}};
}

std::string CalibrationText(const UploadStatistics& upload) {
  const std::string from = " from " + SensorText(upload);
  if (upload.state < UploadState::Receiving) return "nothing" + from;
  if (upload.state == UploadState::Receiving) return UploadProgress(upload) + from;
  return Count(upload.received_bytes, "byte") + from + " in " + Fixed(upload.duration_s, 1) + " s";
}

std::string RequestsText(const UploadStatistics& upload) {
  std::string text = Grouped(upload.requests) + ", " + Grouped(upload.repeated) + " repeated";
  const auto add = [&](std::uint64_t count, const char* what) {
    if (count > 0) text += ", " + Grouped(count) + ' ' + what;
  };
  add(upload.send_errors, "not sent");
  add(upload.discarded, upload.discarded == 1 ? "reply discarded" : "replies discarded");
  add(upload.wrong_marker, "with a wrong marker");
  add(upload.unusable, "of a wrong length");
  add(upload.other_source, "from elsewhere");
  return text;
}

/// The port is in doubt only as long as nothing of the tables came from there.
std::string WrongMarkerText(const UploadRequest& request, const UploadStatistics& upload) {
  if (request.lenient) {
    return "with a wrong marker, which left holes in the tables: without --lenient those are asked "
           "for again";
  }
  const std::string port = std::to_string(request.sensor.port);
  return "that begin with other bytes than a reply" +
         (upload.received_bytes > 0 ? ""
                                    : ": is " + port + " the sensor's port for its calibration?");
}

/// A line for each kind of datagram that was no use.
std::string WhatCame(const UploadRequest& request, const UploadStatistics& upload) {
  std::string text;
  const auto add = [&](std::uint64_t count, const std::string& what) {
    if (count > 0) text += "\n  " + Count(count, "datagram") + ' ' + what;
  };
  add(upload.other_source,
      "from another address or port than asked: if the sensor answers from there, --lenient takes "
      "them");
  add(upload.wrong_marker, WrongMarkerText(request, upload));
  add(upload.unusable,
      request.lenient ? "too short for a reply, or announcing more than any calibration has"
                      : "too short for a reply, or with other than the bytes asked for: if the "
                        "sensor cuts its tables otherwise, --lenient takes them as they come");
  return text;
}

std::string WhySilent(const UploadRequest& request) {
  const std::string port = request.local_port == 0 ? "" : ' ' + std::to_string(request.local_port);
  return "\n  the sensor is on, its cable and this machine's interface are up"
         "\n  " +
         request.sensor.address + " is its address, in a network of this machine" + "\n  " +
         std::to_string(request.sensor.port) +
         " is its port for the calibration, which is not the one of its packets"
         "\n  no firewall keeps its replies from this machine's UDP port" +
         port + "\n  it is of a model that has tables of its own to send";
}

}  // namespace

lidar::CalibrationParam MakeCalibrationParam(const UploadRequest& request) {
  lidar::CalibrationParam param;
  param.local_port = request.local_port;
  param.remote_port = request.sensor.port;
  param.remote_address = request.sensor.address;
  return param;
}

std::string UploadShare(const UploadStatistics& upload) {
  const std::uint64_t total = upload.total_bytes;
  return std::to_string(total == 0 ? 0 : 100 * std::min(upload.received_bytes, total) / total) +
         " %";
}

std::string UploadProgress(const UploadStatistics& upload) {
  return Grouped(upload.received_bytes) + " of " + Count(upload.total_bytes, "byte") + " (" +
         UploadShare(upload) + ')';
}

void AddUploadRows(Report& report, const UploadStatistics& upload) {
  report.Add("tables_from", "Calibration", SensorText(upload), CalibrationText(upload));
  report.Add("upload", "Requests", UploadJson(upload), RequestsText(upload));
}

std::string InUseText(const UploadStatistics& upload) {
  return "decoding uses the sensor's tables from packet " + Grouped(upload.decoded_before_use + 1) +
         " on, " + Fixed(upload.duration_s, 1) + " s after the first request";
}

std::string UploadAdvice(const UploadRequest& request, const UploadStatistics& upload) {
  if (upload.requests == 0 && upload.send_errors > 0) {
    return "no request can be sent to " + request.sensor.text +
           ": check the address, and that this machine has a way to its network";
  }
  const std::string came = WhatCame(request, upload);
  const std::string vain = " reply of " + request.sensor.text + " to " +
                           Count(upload.requests, "request") + " for its calibration. ";
  if (!came.empty()) return "no usable" + vain + "There came" + came;
  return "no" + vain + "Check that" + WhySilent(request);
}

Failure UploadFailure(const UploadRequest& request, const UploadStatistics& upload, double seconds,
                      const std::string& ended) {
  if (upload.state < UploadState::Receiving) {
    return {ExitCode::kNoData, UploadAdvice(request, upload)};
  }
  const std::string came = WhatCame(request, upload);
  return {ExitCode::kLosses, "only " + UploadProgress(upload) + " of the calibration came in " +
                                 Fixed(seconds, 1) + " s: " + ended +
                                 (came.empty() ? "" : ". There also came" + came)};
}

std::string StallText(const UploadRequest& request, const UploadStatistics& upload,
                      double seconds) {
  if (upload.state < UploadState::Receiving) return UploadAdvice(request, upload);
  const std::string came = WhatCame(request, upload);
  return "the calibration has come no further for " + Fixed(seconds, 1) + " s, with " +
         UploadProgress(upload) + " of it here: is " + request.sensor.text +
         " still on and connected? It is asked on" +
         (came.empty() ? "" : ". There also came" + came);
}

bool HasHoles(const UploadRequest& request, const UploadStatistics& upload) {
  return request.lenient && upload.wrong_marker > 0;
}

std::string HolesText(const UploadRequest& request, const UploadStatistics& upload) {
  return "the calibration cannot get complete any more. There came" + WhatCame(request, upload);
}

Failure MissingTables(const Model& model, const std::vector<lidar::RefusedTable>& refused,
                      const std::string& consequence) {
  std::string text = "the sensor does not send every table of a " + std::string(model.name) +
                     " (if it is one), so " + consequence + ':';
  for (const lidar::RefusedTable& table : refused) text += "\n  " + table.text;
  return {ExitCode::kFileFault, text};
}

}  // namespace orliq::cli
