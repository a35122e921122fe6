// SPDX-License-Identifier: Apache-2.0
#include "multi_driver/OrliqDriver.h"

#include <arpa/inet.h>

#include "manager/OnlineManager.h"
#include "manager/PcapManager.h"

namespace {

template <typename T>
std::shared_ptr<orliq::lidar::DriverManager<T>> CreateManager(orliq::lidar::InputType type) {
  if (type == orliq::lidar::InputType::Socket) {
    return std::make_shared<orliq::lidar::OnlineManager<T>>();
  }
  return std::make_shared<orliq::lidar::PcapManager<T>>();
}

/// Whether the text is the address of one host; stored in `parsed` if it is any.
bool IsSender(const std::string& text, in_addr& parsed) {
  if (::inet_pton(AF_INET, text.c_str(), &parsed) != 1) return false;
  const in_addr_t host = ntohl(parsed.s_addr);
  return host != INADDR_ANY && host != INADDR_BROADCAST && !IN_MULTICAST(host);
}

}  // namespace

template <typename T>
struct OrliqDriver<T>::Impl {
  ~Impl() { Release(); }

  void Release() {
    if (manager) manager->Abandon();
    manager.reset();
  }

  /// The new manager is installed once it works: its first call of the provider may come back here.
  bool InitDriver(const orliq::lidar::DriverParam& param) {
    Release();
    const auto created = CreateManager<T>(param.input_type);
    created->SetSource(source);
    created->SetStrictUpload(strict_upload);
    created->SetSocketBuffer(socket_buffer);
    created->RegisterPointCloudCallBack(put_point_cloud, get_point_cloud);
    created->RegisterImuCallBack(put_imu, get_imu);
    created->RegisterExceptionCallBack(exception_callback);
    created->RegisterPacketCallBack(packet_callback);
    if (!created->Init(param) || manager) return false;
    manager = created;
    return true;
  }

  std::shared_ptr<orliq::lidar::DriverManager<T>> manager;
  ExceptionCallback exception_callback;
  PacketCallback packet_callback;
  PutPointCloud put_point_cloud;
  GetPointCloud get_point_cloud;
  PutImu put_imu;
  GetImu get_imu;
  std::uint32_t source = 0;  // of SetSourceAddress, network byte order
  bool strict_upload = false;
  std::uint32_t socket_buffer = 0;  // [bytes]
};

template <typename T>
OrliqDriver<T>::OrliqDriver() : impl(std::make_shared<Impl>()) {}

template <typename T>
OrliqDriver<T>::~OrliqDriver() = default;

template <typename T>
void OrliqDriver<T>::RegisterPointCloudCallBack(const PutPointCloud& put,
                                                const GetPointCloud& get) {
  impl->put_point_cloud = put;
  impl->get_point_cloud = get;
}

template <typename T>
void OrliqDriver<T>::RegisterImuCallBack(const PutImu& put, const GetImu& get) {
  impl->put_imu = put;
  impl->get_imu = get;
}

template <typename T>
void OrliqDriver<T>::RegisterExceptionCallBack(const ExceptionCallback& callback) {
  impl->exception_callback = callback;
}

template <typename T>
void OrliqDriver<T>::RegisterPacketCallBack(const PacketCallback& callback) {
  impl->packet_callback = callback;
}

template <typename T>
bool OrliqDriver<T>::SetSourceAddress(const std::string& address) {
  in_addr source = {};
  if (!address.empty() && !IsSender(address, source)) return false;
  impl->source = source.s_addr;
  return true;
}

template <typename T>
void OrliqDriver<T>::SetStrictUpload(const bool& strict) {
  impl->strict_upload = strict;
}

template <typename T>
void OrliqDriver<T>::SetSocketBuffer(const std::uint32_t& bytes) {
  impl->socket_buffer = bytes;
}

template <typename T>
bool OrliqDriver<T>::InitDriver(const orliq::lidar::DriverParam& param) {
  const auto keep = impl;  // the provider may destroy the driver
  try {
    return keep->InitDriver(param);
  } catch (...) {
    // A provider threw, or memory ran out: the same as any other source that cannot be opened.
    return false;
  }
}

template <typename T>
bool OrliqDriver<T>::Start() {
  const auto manager = impl->manager;  // a callback may replace it meanwhile
  return manager && manager->Start();
}

template <typename T>
void OrliqDriver<T>::Stop() {
  if (const auto manager = impl->manager) manager->Stop();
}

template <typename T>
void OrliqDriver<T>::UpdateTransform(const orliq::lidar::TransformParam& transform) {
  if (const auto manager = impl->manager) manager->UpdateTransform(transform);
}

template <typename T>
bool OrliqDriver<T>::SetLocalFrame(const int& frame) {
  const auto manager = impl->manager;
  return manager && manager->PlayLocalFileFrame(frame);
}

template <typename T>
bool OrliqDriver<T>::IsLocalFramePlaying() const {
  const auto manager = impl->manager;
  return manager && manager->IsLocalFramePlaying();
}

template <typename T>
bool OrliqDriver<T>::GetLocalFileStatus(int& status) {
  const auto manager = impl->manager;
  return manager && manager->GetLocalFileStatus(status);
}

template <typename T>
bool OrliqDriver<T>::GetStatistics(orliq::lidar::DriverStatistics& statistics) const {
  const auto manager = impl->manager;
  return manager && manager->GetStatistics(statistics);
}

template <typename T>
bool OrliqDriver<T>::GetCalibrationStatus(orliq::lidar::CalibrationStatus& status) const {
  const auto manager = impl->manager;
  return manager && manager->GetCalibrationStatus(status);
}

template <typename T>
void OrliqDriver<T>::SetQueueLimit(const std::uint64_t& packets) {
  if (const auto manager = impl->manager) manager->SetQueueLimit(packets);
}

#define ORLIQ_INSTANTIATE(CLOUD) template class OrliqDriver<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)
