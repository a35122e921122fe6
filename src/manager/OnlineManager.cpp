// SPDX-License-Identifier: Apache-2.0
#include "manager/OnlineManager.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "common/Counter.h"
#include "common/Diagnostics.h"
#include "common/Worker.h"
#include "decoder/DecoderFactory.h"
#include "input/InputFactory.h"
#include "input/SyncQueue.h"
#include "manager/ApplicationCallbacks.h"
#include "multi_driver/PointCloud.h"
#include "param/ParamService.h"

namespace orliq::lidar {
namespace {

// A pause takes the system some 50 us, whatever is asked for. A pass handles what is waiting before
// it pauses, or 13,000 packets a second would be the most; the bound keeps the pauses coming.
constexpr int kPacketsPerPass = 64;

// Buffers kept for reuse, 12.7 MB. A stalled callback may have needed more: those are freed.
constexpr std::uint64_t kSpareBuffers = 8192;

constexpr unsigned kNoBound = 0;  // of a push

std::atomic<std::uint32_t> g_load_count{0};  // live managers so far, of all point types

std::uint64_t NowNs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::nanoseconds(now).count());
}

}  // namespace

template <typename T>
struct OnlineManager<T>::Impl {
  bool Init(const DriverParam& param, std::uint32_t source);
  bool MakeDecoder(const DriverParam& param);
  void Release();
  bool Start(const std::shared_ptr<Impl>& self);
  void Stop();
  void Receive();
  bool ReceivePacket(std::shared_ptr<Buffer>& buffer);
  void DropBeyondLimit();
  std::shared_ptr<Buffer> GetBuffer();
  void Recycle(const std::shared_ptr<Buffer>& buffer);
  void Decode();
  bool DecodePacket();
  void Pause() const;
  void SplitFrame(const unsigned short& rings, const double& timestamp);
  void SplitIMUFrame();

  ApplicationCallbacks<T> callbacks;
  const std::uint32_t instance_id = ++g_load_count;
  int loop_sleep_us = 1;
  std::shared_ptr<Input> input;
  std::shared_ptr<Decoder<T>> decoder;
  std::shared_ptr<ParamService> param_service;
  SyncQueue<std::shared_ptr<Buffer>> packet_queue;  // filled by the receiving thread
  SyncQueue<std::shared_ptr<Buffer>> free_buffers;  // filled by both, emptied by the receiving one

  Counter received, received_bytes, receive_errors, dropped_by_limit;  // of the receiving thread
  Counter queued_max;                                                  // likewise
  Counter last_packet_ns;                                              // likewise; 0: none yet
  std::atomic<std::uint64_t> buffers{0};

  Worker receiver;  // last: their threads use everything above
  Worker decoding;
};

template <typename T>
bool OnlineManager<T>::Impl::Init(const DriverParam& param, std::uint32_t source) {
  Release();
  if (!MakeDecoder(param)) return false;
  param_service = std::make_shared<ParamService>();
  if (param.param_source != 0) {
    diagnostics::ParamUploadMissing();
    Release();
    return false;
  }
  const bool loaded =
      param_service->LoadCheckFolder(param.lidar_type, param.calibration_param.check_folder);
  diagnostics::CheckFolderLoaded(loaded);
  if (loaded) decoder->UpdateCheckParam(param_service->GetCheckParam(param.lidar_type));
  input = InputFactory::CreateInput(param.input_type, param.input_param);
  if (input) input->SetSource(source);
  if (!input || !input->Init()) {
    Release();
    return false;
  }
  // Its packets come so densely that a pause would cost some.
  loop_sleep_us = param.lidar_type == LidarType::Kelvane ? 0 : 1;
  decoder->InstallCloud(callbacks.GetPointCloud());
  decoder->InstallImuMsg(callbacks.GetImuMsg());
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
  return true;
}

template <typename T>
void OnlineManager<T>::Impl::Release() {
  input.reset();
  decoder.reset();
  param_service.reset();
}

template <typename T>
bool OnlineManager<T>::Impl::Start(const std::shared_ptr<Impl>& self) {
  if (!input) return false;
  const std::string id = std::to_string(instance_id % 10000);  // a name has 15 characters
  if (!receiver.Start("orliq-recv-" + id, self, [this] { Receive(); })) return false;
  if (decoding.Start("orliq-dec-" + id, self, [this] { Decode(); })) return true;
  Stop();  // a queue that nobody empties would only grow
  return false;
}

template <typename T>
void OnlineManager<T>::Impl::Stop() {
  receiver.RequestStop();
  receiver.Join();
  decoding.RequestStop();
  decoding.Join();
}

template <typename T>
void OnlineManager<T>::Impl::Receive() {
  std::shared_ptr<Buffer> buffer = GetBuffer();
  while (receiver.Running()) {
    for (int i = 0; i < kPacketsPerPass && receiver.Running(); ++i) {
      if (!ReceivePacket(buffer)) break;
    }
    Pause();
  }
  --buffers;
}

/// False when none is waiting.
template <typename T>
bool OnlineManager<T>::Impl::ReceivePacket(std::shared_ptr<Buffer>& buffer) {
  const int count = input->RecvPacket(buffer, Buffer::kDefaultCapacity, nullptr, true);
  if (count < 0) receive_errors.Add();
  if (count < 1) return false;
  last_packet_ns.Set(NowNs());
  received.Add();
  received_bytes.Add(static_cast<std::uint64_t>(count));
  packet_queue.Push(buffer, kNoBound);
  DropBeyondLimit();
  queued_max.Set(std::max(queued_max.Value(), packet_queue.size.load()));
  buffer = GetBuffer();
  return true;
}

template <typename T>
void OnlineManager<T>::Impl::DropBeyondLimit() {
  const std::uint64_t limit = packet_queue.max_size;
  while (limit != 0 && packet_queue.size > limit) {
    const std::shared_ptr<Buffer> oldest = packet_queue.Pop();
    if (!oldest) return;
    dropped_by_limit.Add();
    Recycle(oldest);
  }
}

template <typename T>
std::shared_ptr<Buffer> OnlineManager<T>::Impl::GetBuffer() {
  if (auto buffer = free_buffers.Pop()) return buffer;
  ++buffers;
  return std::make_shared<Buffer>();
}

template <typename T>
void OnlineManager<T>::Impl::Recycle(const std::shared_ptr<Buffer>& buffer) {
  if (free_buffers.size < kSpareBuffers) {
    free_buffers.Push(buffer, kNoBound);
  } else {
    --buffers;
  }
}

template <typename T>
void OnlineManager<T>::Impl::Decode() {
  while (decoding.Running()) {
    for (int i = 0; i < kPacketsPerPass && decoding.Running(); ++i) {
      if (!DecodePacket()) break;
    }
    Pause();
  }
}

/// False when none is waiting.
template <typename T>
bool OnlineManager<T>::Impl::DecodePacket() {
  if (packet_queue.size == 0) return false;
  const std::shared_ptr<Buffer> buffer = packet_queue.Pop();
  if (!buffer) return false;
  // The decoder asks for no message while it has none, so a provider that failed is asked here.
  if (!decoder->CurrentImuMsg()) decoder->InstallImuMsg(callbacks.GetImuMsg());
  decoder->ProcessMsopPacket(buffer->data + buffer->data_offset, buffer->length, 0);
  Recycle(buffer);
  return true;
}

template <typename T>
void OnlineManager<T>::Impl::Pause() const {
  if (loop_sleep_us > 0) {
    std::this_thread::sleep_for(std::chrono::microseconds(loop_sleep_us));
  } else {
    std::this_thread::yield();
  }
}

template <typename T>
void OnlineManager<T>::Impl::SplitFrame(const unsigned short& /*rings*/, const double& timestamp) {
  callbacks.PutPointCloud(*decoder, timestamp);
  decoder->InstallCloud(callbacks.GetPointCloud());
}

template <typename T>
void OnlineManager<T>::Impl::SplitIMUFrame() {
  callbacks.PutImuMsg(*decoder);
  decoder->InstallImuMsg(callbacks.GetImuMsg());
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
  impl_->input.reset();  // the port is free, though a callback may still be running
  impl_->decoding.DetachIfOwnThread();
}

template <typename T>
bool OnlineManager<T>::Init(const DriverParam& param) {
  impl_->Stop();
  this->GiveCallbacks(impl_->callbacks);
  const auto keep = impl_;  // the provider may end the manager
  return keep->Init(param, this->source);
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
  const auto& counts = impl.decoder->Counts();
  // Against the way of a packet, so that no sum exceeds what was received.
  statistics.decoded = counts.decoded.Value();
  statistics.refused_length = counts.refused_length.Value();
  statistics.refused_identifier = counts.refused_identifier.Value();
  statistics.last_refused_length = counts.last_refused_length.Value();
  statistics.queued = impl.packet_queue.size;
  statistics.queued_max = impl.queued_max.Value();
  statistics.dropped_by_limit = impl.dropped_by_limit.Value();
  statistics.received = impl.received.Value();
  statistics.received_bytes = impl.received_bytes.Value();
  statistics.receive_errors = impl.receive_errors.Value();
  statistics.dropped_by_kernel = impl.input->DroppedDatagrams();
  statistics.other_source = impl.input->OtherSourceDatagrams();
  statistics.empty = impl.input->EmptyDatagrams();
  const Input::Senders senders = impl.input->SeenSenders();
  statistics.first_sender = senders.first;
  statistics.other_sender = senders.other;
  statistics.of_other_senders = senders.of_others;
  statistics.socket_buffer_bytes = impl.input->SocketBufferBytes();
  statistics.buffers = impl.buffers;
  const std::uint64_t last_packet_ns = impl.last_packet_ns.Value();
  statistics.last_packet_age_s =
      last_packet_ns == 0 ? -1.0 : static_cast<double>(NowNs() - last_packet_ns) * 1e-9;
  return true;
}

template <typename T>
void OnlineManager<T>::SetQueueLimit(std::uint64_t packets) {
  impl_->packet_queue.max_size = packets;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class OnlineManager<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
