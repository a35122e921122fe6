// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {

/// The UDP ports of this machine that the sensors of a file take. Of two sockets on one port the system
/// gives each sender's packets to one, whichever it likes, so no two may share a port: that they count
/// different sources does not help.
class PortClaims {
 public:
  /// Adds those of a sensor, which has the keys `own` of its own and begins at `at`. Throws Failure
  /// when another has one of them on the same address.
  void Claim(const ConfiguredSensor& sensor, const YamlValue::Entries& own, const YamlValue& at);

 private:
  struct Port {
    std::uint16_t number;
    std::string address;  // empty: every address
    std::string key;      // by which the file gives it
    int line;
  };

  void Add(const Port& port, const YamlValue& at);

  std::vector<Port> ports_;
};

}  // namespace orliq::cli
