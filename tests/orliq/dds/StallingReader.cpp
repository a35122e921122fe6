// SPDX-License-Identifier: Apache-2.0
// A reader of /front/points in a domain that stops behind its first message, until somebody ends it.
#include <csignal>
#include <cstdlib>

#include "FastReader.h"

int main(int argc, char** argv) {
  if (argc != 2) return EXIT_FAILURE;
  orliq::cli::FastReader reader(static_cast<std::uint32_t>(std::atoi(argv[1])),
                                {"rt/front/points", "sensor_msgs::msg::dds_::PointCloud2_", true});
  if (reader.Next(std::chrono::seconds(20)).empty()) return EXIT_FAILURE;
  std::raise(SIGSTOP);
}
