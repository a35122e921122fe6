// SPDX-License-Identifier: Apache-2.0
// Counts what a ROS 2 computer would receive: clouds of the given sensors within some seconds.
//   dds_reader SECONDS reliable|best-effort NAME...
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "orliq/dds/DdsOutlet.h"

int main(int argc, char** argv) {
  using orliq::cli::DdsInlet;
  using Clock = std::chrono::steady_clock;
  if (argc < 4) return EXIT_FAILURE;
  orliq::cli::DdsSettings settings = orliq::cli::DdsSettingsOfRos();
  settings.reliable = std::string(argv[2]) == "reliable";
  std::vector<std::unique_ptr<DdsInlet>> inlets;
  for (int i = 3; i < argc; ++i) {
    const orliq::cli::RosTopic topic = {std::string("/") + argv[i] + "/points",
                                        &orliq::cli::kRosPointCloud2};
    inlets.push_back(std::make_unique<DdsInlet>(settings, topic));
  }
  std::uint64_t clouds = 0, bytes = 0;
  const auto end = Clock::now() + std::chrono::duration<double>(std::atof(argv[1]));
  while (Clock::now() < end) {
    for (const auto& inlet : inlets) {
      while (const auto message = inlet->Take()) {
        ++clouds;
        bytes += message->size();
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  std::cout << clouds << " clouds, " << bytes << " bytes\n";
}
