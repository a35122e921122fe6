// SPDX-License-Identifier: Apache-2.0
// Clouds and samples cross the border of the library only behind pointers that the application's
// callbacks hold, where a look at the library's own functions does not reach. These show them.
#include <multi_driver/OrliqDriver.h>

#define ORLIQ_SHOW(CLOUD) \
  ORLIQ_API void Show(CLOUD /*whole*/) {}
ORLIQ_FOR_EACH_CLOUD(ORLIQ_SHOW)
ORLIQ_API void Show(orliq::lidar::ImuMsg /*sample*/, orliq::lidar::Error /*fault*/) {}
