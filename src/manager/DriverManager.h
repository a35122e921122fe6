// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "manager/ApplicationCallbacks.h"
#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"
#include "multi_driver/Messages.h"
#include "multi_driver/RawPacket.h"

namespace orliq::lidar {

/// The engine of one sensor behind the public driver. `T` is one of the four clouds.
///
/// Threads: called from the application's one thread, or from inside a callback. Init takes the
/// callbacks that are registered by then.
template <typename T>
class DriverManager {
 public:
  DriverManager() = default;
  virtual ~DriverManager() = default;
  DriverManager(const DriverManager&) = delete;
  DriverManager& operator=(const DriverManager&) = delete;

  virtual bool Init(const DriverParam& param) = 0;
  virtual bool Start() = 0;
  virtual void Stop() = 0;
  virtual void UpdateTransform(const TransformParam& transform) = 0;

  /// False by default: only a capture file has frames to ask for.
  virtual bool GetLocalFileStatus(int& status);
  virtual bool PlayLocalFileFrame(const int& index);

  virtual void RegisterPointCloudCallBack(const std::function<void(std::shared_ptr<T>)>& put,
                                          const std::function<std::shared_ptr<T>()>& get);
  virtual void RegisterImuCallBack(const std::function<void(std::shared_ptr<ImuMsg>)>& put,
                                   const std::function<std::shared_ptr<ImuMsg>()>& get);
  virtual void RegisterExceptionCallBack(const std::function<void(const Error&)>& callback);
  virtual void RegisterPacketCallBack(const std::function<void(const RawPacket&)>& callback);

  /// What became of the packets; false without a successful Init.
  virtual bool GetStatistics(DriverStatistics& statistics) const = 0;

  /// Nothing by default: only a live sensor has packets that wait.
  virtual void SetQueueLimit(std::uint64_t packets);

  /// False by default, as only a capture file has frames that play.
  virtual bool IsLocalFramePlaying() const;

  /// What became of the calibration in Init; false without a successful one.
  virtual bool GetCalibrationStatus(CalibrationStatus& status) const = 0;

  /// Stops for good, as destruction does: from inside a callback, no further one is called. The
  /// owner calls it, since a call that is under way on another thread may keep the manager longer.
  virtual void Abandon() = 0;

  /// The sender whose packets count, from the next Init on; see Input::SetSource.
  void SetSource(std::uint32_t address) { source = address; }

  /// Whether the calibration from a sensor is taken from nobody else; see ParamLoader. Likewise.
  void SetStrictUpload(bool strict) { strict_upload = strict; }

  /// What to ask of the system for a live sensor [bytes]; 0: 16 MiB. Likewise.
  void SetSocketBuffer(std::uint32_t bytes) { socket_buffer = bytes; }

 protected:
  void GiveCallbacks(ApplicationCallbacks<T>& callbacks) const;

  std::function<void(const Error&)> exception_callback;
  std::function<void(std::shared_ptr<T>)> put_point_cloud;
  std::function<std::shared_ptr<T>()> get_point_cloud;
  std::function<void(std::shared_ptr<ImuMsg>)> put_imu;
  std::function<std::shared_ptr<ImuMsg>()> get_imu;
  std::function<void(const RawPacket&)> put_packet;
  std::uint32_t source = 0;  // network byte order
  bool strict_upload = false;
  std::uint32_t socket_buffer = 0;  // [bytes]
};

}  // namespace orliq::lidar
