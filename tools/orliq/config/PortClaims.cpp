// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/PortClaims.h"

#include "orliq/network/HostNetwork.h"

namespace orliq::cli {

void PortClaims::Claim(const ConfiguredSensor& sensor, const YamlValue::Entries& own,
                       const YamlValue& at) {
  const auto line = [&own, &at](const char* key) {
    const YamlValue* const value = own.Find(key);
    return value == nullptr ? at.Line() : value->Line();
  };
  if (sensor.IsLive()) Add({*sensor.port, sensor.address, "port", line("port")}, at);
  const std::uint16_t local = sensor.params_local_port;
  if (local != 0) Add({local, "", "params_local_port", line("params_local_port")}, at);
}

void PortClaims::Add(const Port& port, const YamlValue& at) {
  const auto title = [](const Port& of) {
    return of.key + ' ' + EndpointText(of.address, of.number);
  };
  for (const Port& other : ports_) {
    const bool one_place =
        port.address.empty() || other.address.empty() || port.address == other.address;
    if (other.number != port.number || !one_place) continue;
    throw FailureAt(at.File(), port.line,
                    title(port) + " clashes with " + title(other) + " in line " +
                        std::to_string(other.line) +
                        ": of two sockets on a port only one gets a sender's packets, whatever "
                        "source says");
  }
  ports_.push_back(port);
}

}  // namespace orliq::cli
