// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedSilence.h"

#include <utility>

#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/live/SensorSetUp.h"

namespace orliq::cli {

std::vector<std::string> WhyNothingArrived(const SensorFile& file, const FusedCounts& counts,
                                           double seconds, const std::vector<std::size_t>& sensors,
                                           const Console& console) {
  std::vector<std::string> texts;
  std::string others;
  bool advised = false;  // what to check is the same for all that are silent
  for (const std::size_t i : sensors) {
    const ConfiguredSensor& sensor = file.sensors[i];
    const lidar::DriverStatistics& packets = counts.sensors[i].packets;
    const bool silent = packets.received + packets.other_source == 0;
    if (silent && std::exchange(advised, true)) {
      others += (others.empty() ? "" : ", ") + sensor.name + " at " +
                EndpointText(sensor.address, sensor.port.value_or(0));
      continue;
    }
    const Remarks remarks(console, sensor.name);
    texts.push_back(remarks.Named(WhyNothingArrived(SilenceOf(sensor, packets, seconds), remarks)));
  }
  if (!others.empty()) texts.push_back("nor did anything arrive of " + others);
  return texts;
}

}  // namespace orliq::cli
