// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/UploadStatistics.h"
#include "orliq/network/HostPort.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Report.h"

// What fetch-params and live say of a calibration that comes from the sensor itself.
namespace orliq::cli {

/// Whom the calibration is asked of, and how.
struct UploadRequest {
  HostPort sensor;
  std::uint16_t local_port = 0;  ///< 0: any that is free
  bool lenient = false;          ///< takes replies from elsewhere and of other lengths

  /// Whether it is asked for at all.
  bool Asks() const { return sensor.port != 0; }
};

/// The parameters of the channel to the sensor.
lidar::CalibrationParam MakeCalibrationParam(const UploadRequest& request);

/// "21 %" of its bytes.
std::string UploadShare(const lidar::UploadStatistics& upload);

/// "123,000 of 589,896 bytes (20 %)"
std::string UploadProgress(const lidar::UploadStatistics& upload);

/// The rows "Calibration" and "Requests" and the JSON members `tables_from` and `upload`.
void AddUploadRows(Report& report, const lidar::UploadStatistics& upload);

/// The moment from which on packets are decoded with the sensor's tables.
std::string InUseText(const lidar::UploadStatistics& upload);

/// What came in vain, and what to check; or for pure silence what may be the reason of it. Lines
/// behind a sentence.
std::string UploadAdvice(const UploadRequest& request, const lidar::UploadStatistics& upload);

/// Why the tables did not come within that time: code 3 when the sensor sent nothing of them, else 5.
/// `ended` tells why it went on no longer.
Failure UploadFailure(const UploadRequest& request, const lidar::UploadStatistics& upload,
                      double seconds, const std::string& ended);

/// That nothing more of the tables has come for some seconds, and what to check.
std::string StallText(const UploadRequest& request, const lidar::UploadStatistics& upload,
                      double seconds);

/// Whether a piece is missing for ever: a lenient upload takes a wrong marker for an answer.
bool HasHoles(const UploadRequest& request, const lidar::UploadStatistics& upload);
std::string HolesText(const UploadRequest& request, const lidar::UploadStatistics& upload);

/// What was sent lacks tables of the model, with a sentence for each; code 4.
Failure MissingTables(const Model& model, const std::vector<lidar::RefusedTable>& refused,
                      const std::string& consequence);

}  // namespace orliq::cli
