// SPDX-License-Identifier: Apache-2.0
#include "manager/DriverManager.h"

#include "multi_driver/PointCloud.h"

namespace orliq::lidar {

template <typename T>
bool DriverManager<T>::GetLocalFileStatus(int& /*status*/) {
  return false;
}

template <typename T>
bool DriverManager<T>::PlayLocalFileFrame(const int& /*index*/) {
  return false;
}

template <typename T>
bool DriverManager<T>::IsLocalFramePlaying() const {
  return false;
}

template <typename T>
void DriverManager<T>::RegisterPointCloudCallBack(
    const std::function<void(std::shared_ptr<T>)>& put,
    const std::function<std::shared_ptr<T>()>& get) {
  put_point_cloud = put;
  get_point_cloud = get;
}

template <typename T>
void DriverManager<T>::RegisterImuCallBack(const std::function<void(std::shared_ptr<ImuMsg>)>& put,
                                           const std::function<std::shared_ptr<ImuMsg>()>& get) {
  put_imu = put;
  get_imu = get;
}

template <typename T>
void DriverManager<T>::RegisterExceptionCallBack(
    const std::function<void(const Error&)>& callback) {
  exception_callback = callback;
}

template <typename T>
void DriverManager<T>::RegisterPacketCallBack(
    const std::function<void(const RawPacket&)>& callback) {
  put_packet = callback;
}

template <typename T>
void DriverManager<T>::SetQueueLimit(std::uint64_t /*packets*/) {}

template <typename T>
void DriverManager<T>::GiveCallbacks(ApplicationCallbacks<T>& callbacks) const {
  callbacks.exception_callback = exception_callback;
  callbacks.put_point_cloud = put_point_cloud;
  callbacks.get_point_cloud = get_point_cloud;
  callbacks.put_imu = put_imu;
  callbacks.get_imu = get_imu;
  callbacks.put_packet = put_packet;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class DriverManager<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
