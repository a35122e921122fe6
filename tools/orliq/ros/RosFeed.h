// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orliq/clouds/CloudTaker.h"
#include "orliq/ros/RosMessages.h"
#include "orliq/ros/RosOutlet.h"

namespace orliq::cli {

/// What a sensor is in ROS 2.
struct RosSensor {
  std::string name;      ///< of its topics: "/NAME/points", "/NAME/imu"
  std::string frame;     ///< in which its points lie
  Origin origin{};       ///< where it stands in that
  std::size_t rows = 0;  ///< of its grid; 0: it has none
  std::size_t columns = 0;
  bool has_imu = false;
  std::string imu_frame = {};  ///< in which its samples are; empty: in that of the points
};

/// Which clock a message's stamp comes from.
enum class RosStamp : std::uint8_t {
  kPackets,  ///< of the sensor, as its packets tell; of this machine for a model that tells none
  kHost,     ///< of this machine, when the cloud was complete
};

/// Makes messages of what drivers deliver, on a thread of its own, and gives them to every outlet. A
/// driver that hands something over goes on at once: of a sensor whose clouds are not published fast enough
/// the oldest waiting one is left out, and counted.
///
/// Threads: clouds and samples of a sensor come from one thread, all else from any.
class RosFeed {
 public:
  /// The outlets outlive this. Adds the topics to each: throws Failure as they do.
  RosFeed(std::vector<RosSensor> sensors, RosStamp stamp, std::vector<RosOutlet*> outlets);

  ~RosFeed() { Finish(); }
  RosFeed(const RosFeed&) = delete;
  RosFeed& operator=(const RosFeed&) = delete;

  /// Takes what that sensor delivers; it lives as long as this.
  CloudTaker& Of(std::size_t sensor) { return *takers_[sensor]; }

  /// Where the sensors stand, for all readers until it is told anew.
  void Tell(const std::vector<RosTransform>& transforms);

  /// How the sensors are now.
  void Tell(const std::vector<RosStatus>& statuses);

  /// Publishes what waits; behind it nothing is taken any more.
  void Finish();

  struct Sums {
    std::uint64_t clouds = 0;  ///< published
    std::uint64_t samples = 0;
    std::uint64_t clouds_left_out = 0;  ///< as publishing was slow
    std::uint64_t samples_left_out = 0;
  };

  /// So far, of one sensor.
  Sums Read(std::size_t sensor) const;

 private:
  static constexpr std::size_t kWaitingClouds = 5;      // of a sensor: 0.5 s at 10 Hz
  static constexpr std::size_t kWaitingSamples = 1000;  // likewise: seconds of them

  class Taker;
  struct Sensor {
    RosSensor names;
    std::size_t points = 0;                               // topic
    std::size_t imu = 0;                                  // likewise
    std::deque<std::pair<TakenCloud, RosTime>> clouds{};  // guarded by mutex_, as what follows
    std::deque<std::pair<lidar::ImuMsg, RosTime>> samples{};
    Sums sums{};
  };

  std::size_t AddTopic(const RosTopic& topic);
  void Take(Sensor& sensor, TakenCloud cloud);
  void Take(Sensor& sensor, const lidar::ImuMsg& sample);
  RosTime StampOf(double time, const RosTime& host) const;
  void Run();
  bool PublishNext(Sensor& sensor, std::unique_lock<std::mutex>& lock);
  void PublishCloud(const Sensor& sensor, const TakenCloud& cloud, const RosTime& host);
  void Publish(std::size_t topic, const RosTime& stamp, std::string cdr);

  const RosStamp stamp_;
  const std::vector<RosOutlet*> outlets_;
  std::size_t transforms_ = 0;  // topic
  std::size_t diagnostics_ = 0;
  mutable std::mutex mutex_;
  std::condition_variable work_;
  std::deque<Sensor> sensors_;
  std::vector<std::unique_ptr<CloudTaker>> takers_;  // of each
  bool ending_ = false;                              // guarded by mutex_
  std::thread thread_;
};

}  // namespace orliq::cli
