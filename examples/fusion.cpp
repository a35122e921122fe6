#include <multi_driver/OrliqMultiDriver.h>
#include <cstdlib>
#include <iostream>

using orliq::lidar::DriverParam;
using orliq::lidar::FusionRound;

namespace {

/// 0 for what is none.
std::uint16_t Port(const char* text) {
  const long port = std::strtol(text, nullptr, 10);
  return port > 0 && port <= 65535 ? static_cast<std::uint16_t>(port) : 0;
}

/// A Juniq of a robot, with the pose of its origin in the robot's own frame [m, deg].
DriverParam Juniq(const char* port, const char* check_folder, float x, float yaw) {
  DriverParam param;
  param.lidar_type = orliq::lidar::LidarType::Juniq;
  param.input_param.port = Port(port);
  param.calibration_param.check_folder = check_folder;
  param.decoder_param.transform_param = {1, x, 0.0F, 0.0F, 0.0F, 0.0F, yaw};
  return param;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5 || Port(argv[1]) == 0 || Port(argv[3]) == 0) {
    std::cerr << "usage: fusion FRONT_PORT FRONT_CHECK_FOLDER REAR_PORT REAR_CHECK_FOLDER\n";
    return 2;
  }
  OrliqMultiDriver<PointCloud<PointSource>> driver;
  driver.RegisterPointCloudCallBack(
      [&driver](const std::shared_ptr<PointCloud<PointSource>>& cloud) {  // on the fusion thread
        FusionRound round;
        driver.GetFusionRound(round);  // source[0] of each point: 0 front, 1 rear
        std::cout << cloud->points.size() << " points, front " << round.sensors[0].points
                  << ", frames " << round.skew_s * 1e3 << " ms apart\n";
      },
      [] { return std::make_shared<PointCloud<PointSource>>(); });

  DriverParam sensors[] = {Juniq(argv[1], argv[2], 1.0F, 0.0F),
                           Juniq(argv[3], argv[4], -1.0F, 180.0F)};
  if (!driver.InitDriver({0, 2, sensors}) || !driver.Start()) return 1;
  std::cin.get();  // until Enter
}
