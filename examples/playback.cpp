#include <multi_driver/OrliqDriver.h>
#include <atomic>
#include <iostream>
#include <thread>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: playback CAPTURE CHECK_FOLDER\n";
    return 2;
  }
  std::atomic<bool> arrived{false};
  OrliqDriver<PointCloud<Point>> driver;
  driver.RegisterPointCloudCallBack(
      [&](const std::shared_ptr<PointCloud<Point>>& cloud) {  // on the driver's thread
        std::cout << cloud->points.size() << " points at " << std::to_string(cloud->timestamp)
                  << " s\n";
        arrived = true;
      },
      [] { return std::make_shared<PointCloud<Point>>(); });

  orliq::lidar::DriverParam param;
  param.lidar_type = orliq::lidar::LidarType::Juniq;
  param.input_type = orliq::lidar::InputType::Pcap;
  param.input_param.pcap_file = argv[1];
  param.input_param.port = 2368;
  param.calibration_param.check_folder = argv[2];
  if (!driver.InitDriver(param) || !driver.Start()) return 1;

  int frames = 0;
  while (!driver.GetLocalFileStatus(frames)) std::this_thread::yield();  // the file is indexed
  if (!driver.SetLocalFrame(0)) return 1;
  while (!arrived) std::this_thread::yield();
}
