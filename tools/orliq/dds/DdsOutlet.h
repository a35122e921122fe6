// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "orliq/ros/RosOutlet.h"

namespace orliq::cli {

/// How a process takes part in ROS 2.
struct DdsSettings {
  std::uint32_t domain = 0;    ///< 0 to 232
  bool reliable = false;       ///< clouds and samples; else what ROS calls sensor data: best effort
  bool loopback_only = false;  ///< nothing leaves this machine, and nobody elsewhere is looked for
};

/// As ROS_DOMAIN_ID and ROS_LOCALHOST_ONLY say. Throws Failure for a domain that is none.
DdsSettings DdsSettingsOfRos();

/// Topics of ROS 2 over DDS. What CYCLONEDDS_URI says holds, too.
///
/// Clouds and samples: the last five are kept for a reader that lags behind, a latched topic keeps its
/// last message for readers to come. A reader that stalls loses messages and holds nobody up.
///
/// Failure, in the constructor and in AddTopic: no network, no such type; and a program that was built
/// without DDS.
class DdsOutlet : public RosOutlet {
 public:
  explicit DdsOutlet(const DdsSettings& settings);
  ~DdsOutlet() override;

  std::size_t AddTopic(const RosTopic& topic) override;
  void Publish(std::size_t topic, const RosTime& stamp,
               std::shared_ptr<const std::string> cdr) override;

  /// Messages that DDS did not take.
  std::uint64_t Refused() const;

 private:
  class Network;
  std::unique_ptr<Network> network_;
};

/// Listens to a topic of the domain, of whatever process. Throws Failure as DdsOutlet does.
class DdsInlet {
 public:
  DdsInlet(const DdsSettings& settings, const RosTopic& topic);
  ~DdsInlet();
  DdsInlet(const DdsInlet&) = delete;
  DdsInlet& operator=(const DdsInlet&) = delete;

  /// The next message; null when none has come.
  std::shared_ptr<const std::string> Take();

 private:
  class Network;
  std::unique_ptr<Network> network_;
};

}  // namespace orliq::cli
