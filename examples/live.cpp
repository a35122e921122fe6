#include <multi_driver/OrliqDriver.h>
#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  char* rest = nullptr;
  const long port = argc == 3 ? std::strtol(argv[1], &rest, 10) : 0;
  if (port < 1 || port > 65535 || *rest != '\0') {
    std::cerr << "usage: live PORT CHECK_FOLDER\n";
    return 2;
  }
  OrliqDriver<PointCloud<Point>> driver;
  driver.RegisterPointCloudCallBack(
      [](const std::shared_ptr<PointCloud<Point>>& cloud) {  // on the driver's thread
        std::cout << cloud->points.size() << " points at " << std::to_string(cloud->timestamp)
                  << " s\n";
      },
      [] { return std::make_shared<PointCloud<Point>>(); });

  orliq::lidar::DriverParam param;
  param.lidar_type = orliq::lidar::LidarType::Juniq;
  param.input_param.port = static_cast<std::uint16_t>(port);
  param.calibration_param.check_folder = argv[2];
  if (!driver.InitDriver(param) || !driver.Start()) return 1;
  std::cin.get();  // until Enter
}
