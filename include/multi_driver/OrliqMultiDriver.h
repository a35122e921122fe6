// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"
#include "multi_driver/Export.h"
#include "multi_driver/FusionRound.h"
#include "multi_driver/PointCloud.h"
#include "multi_driver/RawPacket.h"

/// Driver of several sensors: whenever each of them has ended a new frame, all these frames become
/// one cloud, the first sensor's points first.
///
/// `T` is one of the four clouds. A sensor that is faster than the others gives its latest frame to
/// each round, one that stalls holds all rounds up: there is no time limit, and nothing is sorted or
/// moved by time. Each sensor's points come as its own transform places them. Of the fused cloud only
/// the points are written, behind those that it holds already, and not through PushPoint; each
/// `PointSource` carries its sensor's index (0 to 255) in `source[0]`.
///
/// Call order: register callbacks, InitDriver, Start. Each live sensor needs a port, or an
/// address, of its own: two drivers on one share no packet. Samples of inertial sensors and packet faults
/// are not handed over; use an OrliqDriver for those.
///
/// Threads: call the driver from one application thread, or from inside the callbacks for clouds, which run
/// on the driver's fusion thread. Sensors go on while one runs: their latest frames wait. Stop,
/// InitDriver, Start and destruction are allowed inside a callback, but not inside a diagnostic sink.
/// Ownership: clouds are made by the supplier, which is asked from Start on for the next one ahead, and
/// given back to the receiver; the driver keeps no reference to what it has handed over. Destruction
/// stops every thread first.
/// Failure: InitDriver and Start do not throw, they return false. The process ends when the fusion
/// thread finds no supplier, at a second Start without Stop, when an exception escapes a callback, and
/// when memory runs out for a round.
template <typename T>
class ORLIQ_API OrliqMultiDriver {
  static_assert(
      orliq::lidar::kIsCloud<T>,
      "OrliqMultiDriver is built for the clouds PointCloud<Point>, PointCloud<PointTime>, "
      "PointCloud<PointSource> and PointCloud<JuniqPoint>.");

 public:
  OrliqMultiDriver();
  virtual ~OrliqMultiDriver();
  OrliqMultiDriver(const OrliqMultiDriver&) = delete;
  OrliqMultiDriver& operator=(const OrliqMultiDriver&) = delete;

  /// Sets the receiver of fused clouds and the supplier of empty ones. Both are taken over by Start.
  /// A supplier without a cloud is asked again; without a receiver, fused clouds are thrown away.
  void RegisterPointCloudCallBack(const std::function<void(std::shared_ptr<T>)>& receiver,
                                  const std::function<std::shared_ptr<T>()>& supplier);

  /// As OrliqDriver::RegisterPacketCallBack, with the index of the sensor. Taken over by InitDriver. It runs
  /// on the sensors' own threads, for several of them at a time, and must not call the driver.
  void RegisterPacketCallBack(
      const std::function<void(std::size_t sensor, const orliq::lidar::RawPacket&)>& callback);

  /// As OrliqDriver::SetSourceAddress, for the sensor of that index. False, with no effect, for what is
  /// no address of a sender.
  bool SetSourceAddress(std::size_t sensor, const std::string& address);

  /// As OrliqDriver::SetStrictUpload, for all sensors.
  void SetStrictUpload(const bool& strict);

  /// As OrliqDriver::SetSocketBuffer, for each sensor.
  void SetSocketBuffer(const std::uint32_t& bytes);

  /// Makes a driver for each sensor, in the order of `driver_params`, in place of those of an earlier
  /// call. False when one cannot be initialised: those before it stay. No sensors are none to fuse.
  bool InitDriver(const orliq::lidar::MultiDriverParam& param);

  /// Starts the sensors in their order and then the fusion. False when one does not start: those
  /// before it run, and nothing is fused. While the fusion runs, the process ends.
  bool Start();

  /// Stops the fusion, then the sensors in their order. From inside a callback it is the last one. A
  /// frame that waits then belongs to the first round after the next Start: its age tells.
  void Stop();

  /// Does nothing: transforms are those given to InitDriver.
  void UpdateTransform(const orliq::lidar::MultiTransformParam& transform);

  /// Asks every sensor for that frame of its capture. True when all accept; false without sensors, while
  /// one still plays, and with a live sensor among them. When one has no such frame, those of the others
  /// wait for its next one, unless later ones replace them.
  bool SetLocalFrame(const int& frame);

  /// Stores the frames of the shortest capture, as OrliqDriver::GetLocalFileStatus does for one. False
  /// while one of them is indexed, for a live sensor and without sensors.
  bool GetLocalFileStatus(int& status);

  /// How many sensors the last InitDriver has set up.
  std::size_t SensorCount() const;

  /// As OrliqDriver::GetStatistics, for the sensor of that index. False, too, for one that there is not.
  bool GetStatistics(std::size_t sensor, orliq::lidar::DriverStatistics& statistics) const;

  /// As OrliqDriver::GetCalibrationStatus, likewise.
  bool GetCalibrationStatus(std::size_t sensor, orliq::lidar::CalibrationStatus& status) const;

  /// As OrliqDriver::IsLocalFramePlaying, likewise.
  bool IsLocalFramePlaying(std::size_t sensor) const;

  /// As OrliqDriver::SetQueueLimit, for each sensor.
  void SetQueueLimit(const std::uint64_t& packets);

  /// Stores what the latest fused cloud was made of; inside the receiver that is the cloud it gets. May
  /// be called from any thread while no InitDriver runs. False before the first one of a start.
  bool GetFusionRound(orliq::lidar::FusionRound& round) const;

  /// Whether a new frame of that sensor waits for those of the others: a sensor without one holds the
  /// round up. May be called from any thread while no InitDriver runs.
  bool IsFrameWaiting(std::size_t sensor) const;

 private:
  struct ORLIQ_LOCAL Impl;
  std::shared_ptr<Impl> impl;
};

#define ORLIQ_DECLARE_DRIVER(CLOUD) extern template class OrliqMultiDriver<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_DECLARE_DRIVER)
#undef ORLIQ_DECLARE_DRIVER
