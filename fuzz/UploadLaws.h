// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>

#include "fuzz/UploadSensor.h"
#include "param/ParamLoader.h"

namespace orliq::fuzz {

/// Of an upload that was stopped: no image has grown beyond what was announced, tables are there only
/// when it is complete, and each reply is in one count.
inline void RequireLaws(const UploadSensor& sensor, lidar::ParamLoader& loader,
                        const lidar::ParamService& service) {
  lidar::UploadStatistics counts;
  loader.Count(counts);
  const auto received = static_cast<std::uint64_t>(std::max(service.ReceivedSize(), 0));
  const auto total = static_cast<std::uint64_t>(std::max(service.TotalSize(), 0));
  Require(received <= total + lidar::ParamLoader::kLongestReply);
  Require(counts.received_bytes == received && counts.total_bytes == total);
  Require(service.UploadedTables().empty() || loader.IsFinished());
  const std::uint64_t counted =
      counts.replies + counts.wrong_marker + counts.unusable + counts.discarded;
  Require(counted >= sensor.taken && counted <= sensor.taken + sensor.empty);
  Require(counts.repeated < counts.requests || counts.requests == 0);
  Require(loader.UseTables(counts.requests) == loader.IsFinished() && !loader.UseTables(0));
}

/// Another reply to a complete image changes nothing.
inline void RequireNoMore(lidar::ParamService& service, lidar::LidarType model) {
  const std::vector<std::uint8_t> blank = UploadSensor::BlankReply();
  const std::vector<signed char> reply(blank.begin(), blank.end());
  const std::int32_t received = service.ReceivedSize();
  bool last = false;
  bool done = false;
  service.PushData(model, reply.data(), static_cast<int>(reply.size()), last, done);
  Require(done && service.ReceivedSize() == received);
}

}  // namespace orliq::fuzz
