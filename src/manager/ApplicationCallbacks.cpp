// SPDX-License-Identifier: Apache-2.0
#include "manager/ApplicationCallbacks.h"

#include <utility>

#include "multi_driver/PointCloud.h"

namespace orliq::lidar {

template <typename T>
std::shared_ptr<T> ApplicationCallbacks<T>::GetPointCloud() const {
  return get_point_cloud && !Silent() ? get_point_cloud() : nullptr;
}

template <typename T>
std::shared_ptr<ImuMsg> ApplicationCallbacks<T>::GetImuMsg() const {
  return get_imu && !Silent() ? get_imu() : nullptr;
}

template <typename T>
void ApplicationCallbacks<T>::PutPointCloud(Decoder<T>& decoder, double timestamp) const {
  std::shared_ptr<T> cloud = decoder.CurrentCloud();
  if (!cloud) return;
  cloud->timestamp = timestamp;
  decoder.InstallCloud(nullptr);
  if (put_point_cloud && !Silent()) put_point_cloud(std::move(cloud));
}

template <typename T>
void ApplicationCallbacks<T>::PutImuMsg(Decoder<T>& decoder) const {
  std::shared_ptr<ImuMsg> message = decoder.CurrentImuMsg();
  if (!message || stopped) return;
  decoder.InstallImuMsg(nullptr);
  if (put_imu && !abandoned) put_imu(std::move(message));
}

template <typename T>
void ApplicationCallbacks<T>::ErrorException(const Error& error) const {
  if (exception_callback && !Silent()) exception_callback(error);
}

template <typename T>
void ApplicationCallbacks<T>::PutPacket(const RawPacket& packet) const {
  if (put_packet && !Silent()) put_packet(packet);
}

#define ORLIQ_INSTANTIATE(CLOUD) template struct ApplicationCallbacks<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
