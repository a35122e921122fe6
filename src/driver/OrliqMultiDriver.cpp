// SPDX-License-Identifier: Apache-2.0
#include "multi_driver/OrliqMultiDriver.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include "driver/Fusion.h"
#include "driver/FusionSlot.h"
#include "multi_driver/OrliqDriver.h"

using orliq::lidar::Fusion;
using orliq::lidar::FusionSlot;

template <typename T>
struct OrliqMultiDriver<T>::Impl {
  class DriverManager;

  ~Impl() { Release(); }

  bool Init(const orliq::lidar::MultiDriverParam& param);
  bool InitSensor(std::size_t index, const orliq::lidar::DriverParam& param);
  bool Start();
  void Stop();
  void Release();

  const DriverManager* Sensor(std::size_t index) const {
    return index < managers.size() ? managers[index].get() : nullptr;
  }

  std::function<void(std::shared_ptr<T>)> receiver;
  std::function<std::shared_ptr<T>()> supplier;
  std::function<void(std::size_t, const orliq::lidar::RawPacket&)> packet_callback;
  std::map<std::size_t, std::string> sources;  // of SetSourceAddress, by sensor
  bool strict_upload = false;
  std::uint32_t socket_buffer = 0;                       // [bytes]
  std::vector<std::shared_ptr<DriverManager>> managers;  // in sensor order
  std::shared_ptr<Fusion<T>> fusion = std::make_shared<Fusion<T>>();
};

/// One sensor: its driver, and the slot in which the latest frame waits to be fused.
template <typename T>
class OrliqMultiDriver<T>::Impl::DriverManager {
 public:
  DriverManager(std::size_t index, const std::shared_ptr<orliq::lidar::Wakeup>& arrival)
      : index_(index), slot_(std::make_shared<FusionSlot<T>>(arrival)) {
    driver_.RegisterPointCloudCallBack(
        [this](std::shared_ptr<T> cloud) { PutPointCloud(std::move(cloud)); },
        [this] { return GetPointCloud(); });
  }

  std::size_t GetIndex() const { return index_; }
  const std::shared_ptr<FusionSlot<T>>& Slot() const { return slot_; }
  OrliqDriver<T>& Driver() { return driver_; }
  const OrliqDriver<T>& Driver() const { return driver_; }

  bool Init(const orliq::lidar::DriverParam& param) { return driver_.InitDriver(param); }
  bool Start() { return driver_.Start(); }
  void Stop() { driver_.Stop(); }
  bool SetLocalFrame(const int& frame) { return driver_.SetLocalFrame(frame); }
  bool GetLocalFileStatus(int& status) { return driver_.GetLocalFileStatus(status); }

 private:
  void PutPointCloud(std::shared_ptr<T> cloud) {
    room_ = cloud->points.size();
    slot_->PutPointCloud(std::move(cloud));
  }

  /// Empty, but with room for as many points as the frame before had.
  std::shared_ptr<T> GetPointCloud() const {
    auto cloud = std::make_shared<T>();
    cloud->points.reserve(room_);
    return cloud;
  }

  const std::size_t index_;
  const std::shared_ptr<FusionSlot<T>> slot_;
  std::size_t room_ = 0;   // of the sensor's thread
  OrliqDriver<T> driver_;  // last: its threads use everything above
};

/// Stops everything before the first sensor goes, and then lets them go in their order.
template <typename T>
void OrliqMultiDriver<T>::Impl::Release() {
  Stop();
  for (auto& manager : managers) manager.reset();
  managers.clear();
  fusion->ForgetRound();
}

template <typename T>
bool OrliqMultiDriver<T>::Impl::Init(const orliq::lidar::MultiDriverParam& param) {
  Release();
  if (param.lidar_num > 0 && param.driver_params == nullptr) return false;
  for (std::size_t i = 0; i < param.lidar_num; ++i) {
    if (!InitSensor(i, param.driver_params[i])) return false;
  }
  return true;
}

template <typename T>
bool OrliqMultiDriver<T>::Impl::InitSensor(std::size_t index,
                                           const orliq::lidar::DriverParam& param) {
  const auto manager = std::make_shared<DriverManager>(index, fusion->Arrival());
  const auto source = sources.find(index);
  if (source != sources.end() && !manager->Driver().SetSourceAddress(source->second)) return false;
  if (packet_callback) {
    manager->Driver().RegisterPacketCallBack(
        [index, callback = packet_callback](const orliq::lidar::RawPacket& packet) {
          callback(index, packet);
        });
  }
  manager->Driver().SetStrictUpload(strict_upload);
  manager->Driver().SetSocketBuffer(socket_buffer);
  if (!manager->Init(param)) return false;
  managers.push_back(manager);
  return true;
}

template <typename T>
bool OrliqMultiDriver<T>::Impl::Start() {
  typename Fusion<T>::Slots slots;
  for (const auto& manager : managers) {
    if (!manager->Start()) return false;
    slots.push_back(manager->Slot());
  }
  return fusion->StartFusion(std::move(slots), receiver, supplier);
}

template <typename T>
void OrliqMultiDriver<T>::Impl::Stop() {
  fusion->StopFusion();
  for (const auto& manager : managers) manager->Stop();
}

template <typename T>
OrliqMultiDriver<T>::OrliqMultiDriver() : impl(std::make_shared<Impl>()) {}

template <typename T>
OrliqMultiDriver<T>::~OrliqMultiDriver() {
  impl->Release();
  impl->fusion->DetachIfOwnThread();
}

template <typename T>
void OrliqMultiDriver<T>::RegisterPointCloudCallBack(
    const std::function<void(std::shared_ptr<T>)>& receiver,
    const std::function<std::shared_ptr<T>()>& supplier) {
  impl->receiver = receiver;
  impl->supplier = supplier;
}

template <typename T>
void OrliqMultiDriver<T>::RegisterPacketCallBack(
    const std::function<void(std::size_t, const orliq::lidar::RawPacket&)>& callback) {
  impl->packet_callback = callback;
}

template <typename T>
bool OrliqMultiDriver<T>::SetSourceAddress(std::size_t sensor, const std::string& address) {
  if (!OrliqDriver<T>().SetSourceAddress(address)) return false;
  impl->sources[sensor] = address;
  return true;
}

template <typename T>
void OrliqMultiDriver<T>::SetStrictUpload(const bool& strict) {
  impl->strict_upload = strict;
}

template <typename T>
void OrliqMultiDriver<T>::SetSocketBuffer(const std::uint32_t& bytes) {
  impl->socket_buffer = bytes;
}

template <typename T>
bool OrliqMultiDriver<T>::InitDriver(const orliq::lidar::MultiDriverParam& param) {
  try {
    return impl->Init(param);
  } catch (...) {  // memory ran out
    return false;
  }
}

template <typename T>
bool OrliqMultiDriver<T>::Start() {
  try {
    return impl->Start();
  } catch (...) {  // memory ran out, or a callback cannot be copied
    return false;
  }
}

template <typename T>
void OrliqMultiDriver<T>::Stop() {
  impl->Stop();
}

template <typename T>
void OrliqMultiDriver<T>::UpdateTransform(const orliq::lidar::MultiTransformParam& /*transform*/) {}

template <typename T>
bool OrliqMultiDriver<T>::SetLocalFrame(const int& frame) {
  const auto& managers = impl->managers;
  const auto plays = [](const auto& manager) { return manager->Driver().IsLocalFramePlaying(); };
  if (std::any_of(managers.begin(), managers.end(), plays)) return false;
  bool accepted = !managers.empty();
  for (const auto& manager : managers) {
    if (!manager->SetLocalFrame(frame)) accepted = false;
  }
  return accepted;
}

template <typename T>
bool OrliqMultiDriver<T>::GetLocalFileStatus(int& status) {
  bool indexed = !impl->managers.empty();
  int fewest = std::numeric_limits<int>::max();
  for (const auto& manager : impl->managers) {
    int frames = 0;
    if (!manager->GetLocalFileStatus(frames)) indexed = false;
    fewest = std::min(fewest, frames);
  }
  if (indexed) status = fewest;
  return indexed;
}

template <typename T>
std::size_t OrliqMultiDriver<T>::SensorCount() const {
  return impl->managers.size();
}

template <typename T>
bool OrliqMultiDriver<T>::GetStatistics(std::size_t sensor,
                                        orliq::lidar::DriverStatistics& statistics) const {
  const auto* const manager = impl->Sensor(sensor);
  return manager != nullptr && manager->Driver().GetStatistics(statistics);
}

template <typename T>
bool OrliqMultiDriver<T>::GetCalibrationStatus(std::size_t sensor,
                                               orliq::lidar::CalibrationStatus& status) const {
  const auto* const manager = impl->Sensor(sensor);
  return manager != nullptr && manager->Driver().GetCalibrationStatus(status);
}

template <typename T>
bool OrliqMultiDriver<T>::IsLocalFramePlaying(std::size_t sensor) const {
  const auto* const manager = impl->Sensor(sensor);
  return manager != nullptr && manager->Driver().IsLocalFramePlaying();
}

template <typename T>
void OrliqMultiDriver<T>::SetQueueLimit(const std::uint64_t& packets) {
  for (const auto& manager : impl->managers) manager->Driver().SetQueueLimit(packets);
}

template <typename T>
bool OrliqMultiDriver<T>::GetFusionRound(orliq::lidar::FusionRound& round) const {
  auto latest = impl->fusion->LatestRound();
  if (latest) round = std::move(*latest);
  return latest.has_value();
}

template <typename T>
bool OrliqMultiDriver<T>::IsFrameWaiting(std::size_t sensor) const {
  const auto* const manager = impl->Sensor(sensor);
  return manager != nullptr && manager->Slot()->HasNewPointCloud();
}

#define ORLIQ_INSTANTIATE(CLOUD) template class OrliqMultiDriver<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)
