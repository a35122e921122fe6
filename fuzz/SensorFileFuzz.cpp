// SPDX-License-Identifier: Apache-2.0
// A file that describes the sensors of a robot, of any content: it is read, or refused with a line.
#include <netdb.h>

#include "fuzz/MemoryFile.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/PlainText.h"

// NOLINTNEXTLINE(readability-identifier-naming): the linker names it
extern "C" int __real_getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**);

/// Takes the place of the system's: no host of the files is asked for of any network.
// NOLINTNEXTLINE(readability-identifier-naming): the linker names it
extern "C" int __wrap_getaddrinfo(const char* host, const char* service, const addrinfo* wanted,
                                  addrinfo** list) {
  addrinfo numeric = *wanted;
  numeric.ai_flags |= AI_NUMERICHOST;
  return __real_getaddrinfo(host, service, &numeric, list);
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  const fuzz::MemoryFile file(data, size);
  try {
    const cli::SensorFile robot = cli::ReadSensorFile(file.Path());
    fuzz::Require(!robot.sensors.empty());
    for (const cli::ConfiguredSensor& sensor : robot.sensors) {
      fuzz::Require(!sensor.name.empty() && sensor.model != nullptr);
      fuzz::Require(cli::MakeDriverParam(sensor).lidar_type == sensor.model->type);
    }
  } catch (const cli::Failure& failure) {
    const std::string why = failure.what();
    fuzz::Require(why.find(file.Path()) != std::string::npos);
    fuzz::Require(why == cli::PlainText(why) && why.size() < 2000);
  }
  return 0;
}
