// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "orliq/ros/RosTypes.h"

namespace orliq::cli {

struct RosTopic {
  std::string name;               ///< "/front/points"
  const RosType* type = nullptr;  ///< never null
  bool latched = false;           ///< a reader that comes late gets the last message
};

/// Where messages leave the program: a network or a file.
class RosOutlet {
 public:
  RosOutlet() = default;
  virtual ~RosOutlet() = default;
  RosOutlet(const RosOutlet&) = delete;
  RosOutlet& operator=(const RosOutlet&) = delete;

  /// Its number for Publish. All topics are added before the first message, by one thread.
  virtual std::size_t AddTopic(const RosTopic& topic) = 0;

  /// From any thread; those of one topic from one at a time. It keeps the message as long as it needs it,
  /// and does not wait for a reader.
  virtual void Publish(std::size_t topic, const RosTime& stamp,
                       std::shared_ptr<const std::string> cdr) = 0;
};

}  // namespace orliq::cli
