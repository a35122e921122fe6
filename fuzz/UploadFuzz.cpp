// SPDX-License-Identifier: Apache-2.0
// A sensor's replies of any content to the thread that fetches its calibration: no image grows beyond
// what was announced, and every reply is counted.
#include <ctime>

#include "fuzz/UploadLaws.h"

using orliq::fuzz::UploadSensor;

// Both take the place of the system's, so that no time is waited for.
// NOLINTNEXTLINE(readability-identifier-naming): the linker names it
extern "C" std::int64_t __wrap__ZNSt6chrono3_V212steady_clock3nowEv() {
  return UploadSensor::now_ns += 1000;
}
// NOLINTNEXTLINE(readability-identifier-naming): the linker names it
extern "C" int __wrap_nanosleep(const timespec* time, timespec* /*rest*/) {
  UploadSensor::now_ns += time->tv_sec * 1'000'000'000 + time->tv_nsec;
  return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  using lidar::LidarType;
  fuzz::Quiet();
  fuzz::FuzzInput input(data, size);
  const std::size_t options = input.Number(1);
  constexpr LidarType kTypes[] = {LidarType::Juniq,  LidarType::Glavor,  LidarType::Fennix,
                                  LidarType::Hestra, LidarType::Brantis, LidarType::Corvik,
                                  LidarType::Kelvane};
  const LidarType type = kTypes[(options % 4 + options / 8 % 2 * 4) % 7];
  const auto service = std::make_shared<lidar::ParamService>();
  const auto sensor = std::make_shared<UploadSensor>(input);
  lidar::ParamLoader loader(type, service, sensor, (options & 4U) != 0);
  fuzz::Require(loader.StartLoad("fuzz-load", service));
  sensor->WaitForTheLast();
  loader.StopLoad();
  fuzz::RequireLaws(*sensor, loader, *service);
  if (loader.IsFinished()) fuzz::RequireNoMore(*service, type);
  return 0;
}
