// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "decoder/Decoder.h"
#include "multi_driver/Messages.h"
#include "multi_driver/RawPacket.h"

namespace orliq::lidar {

/// The application's callbacks as a manager's decoding thread calls them. A manager takes them over
/// in Init, since one of them may destroy the manager: from then on, none is called any more. Nor is
/// one after a callback has stopped the manager, until it is started again.
template <typename T>
struct ApplicationCallbacks {
  /// A missing provider gives an empty pointer, a missing consumer drops what it was to get.
  std::shared_ptr<T> GetPointCloud() const;
  std::shared_ptr<ImuMsg> GetImuMsg() const;

  /// Takes the decoder's cloud, stamps it with the time [s] of its frame and hands it over. Without
  /// a cloud there is nothing to hand over; a stopped manager gives it up.
  void PutPointCloud(Decoder<T>& decoder, double timestamp) const;

  /// Takes the decoder's IMU message and hands it over.
  void PutImuMsg(Decoder<T>& decoder) const;

  void ErrorException(const Error& error) const;

  void PutPacket(const RawPacket& packet) const;

  /// Whether a cloud that is put now reaches somebody.
  bool HasConsumer() const { return put_point_cloud && !Silent(); }

  std::function<void(const Error&)> exception_callback;
  std::function<void(std::shared_ptr<T>)> put_point_cloud;
  std::function<std::shared_ptr<T>()> get_point_cloud;
  std::function<void(std::shared_ptr<ImuMsg>)> put_imu;
  std::function<std::shared_ptr<ImuMsg>()> get_imu;
  std::function<void(const RawPacket&)> put_packet;
  std::atomic<bool> abandoned{false};  // the manager was destroyed by a callback
  bool stopped = false;                // by a callback; the decoding thread's own

 private:
  bool Silent() const { return stopped || abandoned; }
};

}  // namespace orliq::lidar
