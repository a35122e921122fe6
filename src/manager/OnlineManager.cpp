// SPDX-License-Identifier: Apache-2.0
#include "manager/OnlineManager.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "common/Diagnostics.h"
#include "common/Worker.h"
#include "decoder/DecoderFactory.h"
#include "input/InputFactory.h"
#include "manager/ApplicationCallbacks.h"
#include "manager/FrameCounts.h"
#include "manager/PacketFlow.h"
#include "manager/SensorClock.h"
#include "multi_driver/PointCloud.h"
#include "multi_driver/SensorModels.h"
#include "param/Calibration.h"
#include "param/ParamLoader.h"

namespace orliq::lidar {
namespace {

std::atomic<std::uint32_t> g_load_count{0};  // live managers so far, of all point types

// Of one cloud: some 80 frames of a sensor with most points. One that grows so far has lost its end.
constexpr std::size_t kMostPoints = std::size_t{1} << 22U;

}  // namespace

template <typename T>
struct OnlineManager<T>::Impl {
  bool Init(const DriverParam& param, const OnlineManager& asked);
  bool Calibrate(const DriverParam& param, bool strict_upload);
  bool MakeDecoder(const DriverParam& param);
  void Release();
  bool Start(const std::shared_ptr<Impl>& self);
  bool StartThreads(const std::shared_ptr<Impl>& self);
  void AwaitStart();
  void Stop();
  void Receive();
  void Decode();
  void UseUploadedTables();
  bool DecodePacket();
  bool HasEndlessFrame() const;
  void SplitFrame(const unsigned short& rings, const double& timestamp);
  void SplitIMUFrame();
  void AskForCloud();
  void AskForMessage();

  ApplicationCallbacks<T> callbacks;
  const std::uint32_t instance_id = ++g_load_count;
  LidarType lidar_type = {};
  std::shared_ptr<Input> input;
  std::shared_ptr<Decoder<T>> decoder;
  std::shared_ptr<ParamService> param_service;
  std::shared_ptr<UDPSelect> udp_select;  // with the next, only for tables from the sensor
  std::shared_ptr<ParamLoader> loader;
  CalibrationStatus calibration;  // from a folder
  PacketFlow packets;
  SensorClock clock;
  FrameCounts frames;

  std::mutex starting;  // held while threads are started

  Worker receiver;  // last: their threads use everything above
  Worker decoding;
};

template <typename T>
bool OnlineManager<T>::Impl::Init(const DriverParam& param, const OnlineManager& asked) {
  Release();
  lidar_type = param.lidar_type;
  if (!MakeDecoder(param)) return false;
  param_service = std::make_shared<ParamService>();
  if (!Calibrate(param, asked.strict_upload)) {
    Release();
    return false;
  }
  input = InputFactory::CreateInput(param.input_type, param.input_param);
  if (input) {
    input->SetSource(asked.source);
    input->SetSocketBuffer(asked.socket_buffer);
  }
  if (!input || !input->Init()) {
    Release();
    return false;
  }
  AskForCloud();
  AskForMessage();
  return true;
}

/// From the sensor the tables come later, while it is decoded.
template <typename T>
bool OnlineManager<T>::Impl::Calibrate(const DriverParam& param, bool strict_upload) {
  if (param.param_source != 0) {
    udp_select = std::make_shared<UDPSelect>(param.calibration_param);
    if (!udp_select->Init()) return false;
    loader = std::make_shared<ParamLoader>(lidar_type, param_service, udp_select, strict_upload);
    loader->OnTables([this] { packets.WakeDecoder(); });
    return true;
  }
  calibration = LoadCalibration(param, *param_service);
  diagnostics::CheckFolderLoaded(calibration.loaded);
  if (calibration.loaded) decoder->UpdateCheckParam(param_service->GetCheckParam(lidar_type));
  return true;
}

template <typename T>
bool OnlineManager<T>::Impl::MakeDecoder(const DriverParam& param) {
  decoder = DecoderFactory<T>::CreateDecoder(param.lidar_type, param.decoder_param);
  if (!decoder) return false;
  decoder->RegisterCallBack([this](const Error& error) { callbacks.ErrorException(error); },
                            [this](const unsigned short& rings, const double& timestamp) {
                              SplitFrame(rings, timestamp);
                            });
  decoder->RegisterIMUCallBack([this] { SplitIMUFrame(); });
  frames.SetWholeFrame(FindSensorModel(param.lidar_type)->returns);
  return true;
}

template <typename T>
void OnlineManager<T>::Impl::Release() {
  loader.reset();
  udp_select.reset();
  input.reset();
  decoder.reset();
  param_service.reset();
  calibration = {};
}

template <typename T>
bool OnlineManager<T>::Impl::Start(const std::shared_ptr<Impl>& self) {
  if (!input) return false;
  if (decoding.OnOwnThread()) callbacks.stopped = false;
  if (StartThreads(self)) return true;
  Stop();  // a queue that nobody empties would only grow
  return false;
}

template <typename T>
bool OnlineManager<T>::Impl::StartThreads(const std::shared_ptr<Impl>& self) {
  const std::lock_guard<std::mutex> not_yet(starting);
  const std::string id = std::to_string(instance_id % 10000);  // a name has 15 characters
  if (loader && !loader->StartLoad("orliq-load-" + id, self, [this] { AwaitStart(); }))
    return false;
  return receiver.Start("orliq-recv-" + id, self, [this] { Receive(); }) &&
         decoding.Start("orliq-dec-" + id, self, [this] {
           AwaitStart();
           Decode();
         });
}

/// What a thread calls back may destroy the driver: not before Start has started them all.
template <typename T>
void OnlineManager<T>::Impl::AwaitStart() {
  const std::lock_guard<std::mutex> through(starting);
}

template <typename T>
void OnlineManager<T>::Impl::Stop() {
  if (decoding.OnOwnThread()) callbacks.stopped = true;  // for the rest of this packet
  if (loader) loader->StopLoad();
  receiver.RequestStop();
  packets.WakeReceiver();
  receiver.Join();
  decoding.RequestStop();
  packets.WakeDecoder();
  decoding.Join();
}

template <typename T>
void OnlineManager<T>::Impl::Receive() {
  packets.BeginReceiving(*input);
  const auto shows_bound = [this](const Buffer& packet) {
    return decoder->ShowsFrameBound(packet.data + packet.data_offset, packet.length);
  };
  while (receiver.Running()) packets.Receive(*input, shows_bound);
  packets.ReceiveRest(*input, shows_bound);
  packets.ReleaseBuffers();
}

template <typename T>
void OnlineManager<T>::Impl::Decode() {
  if (std::exchange(callbacks.stopped, false)) {
    AskForCloud();
    AskForMessage();
  }
  while (decoding.Running()) {
    if (!DecodePacket()) packets.WaitForPackets();
  }
}

/// Between two packets, so that no packet is decoded with half of the tables.
template <typename T>
void OnlineManager<T>::Impl::UseUploadedTables() {
  if (!loader || !loader->UseTables(decoder->Counts().decoded.Value())) return;
  decoder->UpdateCheckParam(param_service->GetCheckParam(lidar_type));
}

/// False when none is waiting.
template <typename T>
bool OnlineManager<T>::Impl::DecodePacket() {
  UseUploadedTables();
  const std::shared_ptr<Buffer> buffer = packets.Take();
  if (!buffer) return false;
  const std::uint8_t* const packet = buffer->data + buffer->data_offset;
  callbacks.PutPacket({packet, buffer->length, buffer->arrival_ns, buffer->sender});
  decoder->ProcessMsopPacket(packet, buffer->length, 0);
  const double packet_time = decoder->PacketTime();
  if (packet_time != 0.0 && buffer->arrival_ns != 0) clock.Note(buffer->arrival_ns, packet_time);
  packets.Recycle(buffer);
  if (HasEndlessFrame()) SplitFrame(0, 0.0);
  return true;
}

/// Whoever sends packets that never end a frame would otherwise fill the memory.
template <typename T>
bool OnlineManager<T>::Impl::HasEndlessFrame() const {
  const auto& cloud = decoder->CurrentCloud();
  return cloud && cloud->points.size() >= kMostPoints;
}

template <typename T>
void OnlineManager<T>::Impl::SplitFrame(const unsigned short& /*rings*/, const double& timestamp) {
  frames.End(*decoder, callbacks);
  callbacks.PutPointCloud(*decoder, timestamp);
  AskForCloud();
  AskForMessage();
}

template <typename T>
void OnlineManager<T>::Impl::SplitIMUFrame() {
  callbacks.PutImuMsg(*decoder);
  AskForMessage();
}

template <typename T>
void OnlineManager<T>::Impl::AskForCloud() {
  if (!decoder->CurrentCloud()) decoder->InstallCloud(callbacks.GetPointCloud());
}

template <typename T>
void OnlineManager<T>::Impl::AskForMessage() {
  if (!decoder->CurrentImuMsg()) decoder->InstallImuMsg(callbacks.GetImuMsg());
}

template <typename T>
OnlineManager<T>::OnlineManager() : impl_(std::make_shared<Impl>()) {}

template <typename T>
OnlineManager<T>::~OnlineManager() {
  Abandon();
}

template <typename T>
void OnlineManager<T>::Abandon() {
  if (impl_->decoding.OnOwnThread()) impl_->callbacks.abandoned = true;
  Stop();
  if (impl_->udp_select) impl_->udp_select->Close();
  impl_->input.reset();  // both ports are free, though a callback may still be running
  impl_->decoding.DetachIfOwnThread();
  if (impl_->loader) impl_->loader->DetachIfOwnThread();
}

template <typename T>
bool OnlineManager<T>::Init(const DriverParam& param) {
  impl_->Stop();
  this->GiveCallbacks(impl_->callbacks);
  impl_->callbacks.stopped = false;
  const auto keep = impl_;  // the provider may end the manager
  return keep->Init(param, *this);
}

template <typename T>
bool OnlineManager<T>::Start() {
  return impl_->Start(impl_);
}

template <typename T>
void OnlineManager<T>::Stop() {
  impl_->Stop();
}

template <typename T>
void OnlineManager<T>::UpdateTransform(const TransformParam& transform) {
  if (impl_->decoder) impl_->decoder->UpdateTransform(transform);
}

template <typename T>
bool OnlineManager<T>::GetStatistics(DriverStatistics& statistics) const {
  const Impl& impl = *impl_;
  if (!impl.input) return false;
  statistics = {};
  // Against the way of a packet, so that no sum exceeds what was received.
  impl.frames.Count(*impl.decoder, statistics);
  impl.packets.Count(statistics);
  statistics.dropped_by_kernel = impl.input->DroppedDatagrams();
  statistics.other_source = impl.input->OtherSourceDatagrams();
  statistics.empty = impl.input->EmptyDatagrams();
  const Input::Senders senders = impl.input->SeenSenders();
  statistics.first_sender = senders.first;
  statistics.other_sender = senders.other;
  statistics.of_other_senders = senders.of_others;
  statistics.socket_buffer_bytes = impl.input->SocketBufferBytes();
  if (impl.loader) impl.loader->Count(statistics.upload);
  statistics.clock = impl.clock.Count();
  return true;
}

template <typename T>
void OnlineManager<T>::SetQueueLimit(std::uint64_t packets) {
  impl_->packets.SetLimit(packets);
}

template <typename T>
bool OnlineManager<T>::GetCalibrationStatus(CalibrationStatus& status) const {
  if (!impl_->input) return false;
  const Impl& impl = *impl_;
  if (!impl.loader) {
    status = impl.calibration;
    return true;
  }
  const UploadState state = impl.loader->State();
  const bool complete = state >= UploadState::Received;
  status = UploadedCalibration(complete ? impl.param_service.get() : nullptr,
                               state == UploadState::InUse);
  return true;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class OnlineManager<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
