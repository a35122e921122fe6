// SPDX-License-Identifier: Apache-2.0
#include "manager/PcapManager.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "common/Diagnostics.h"
#include "common/Worker.h"
#include "decoder/DecoderFactory.h"
#include "manager/ApplicationCallbacks.h"
#include "manager/FrameCounts.h"
#include "manager/FramePosPackage.h"
#include "manager/RecordReader.h"
#include "multi_driver/PointCloud.h"
#include "multi_driver/SensorModels.h"
#include "param/Calibration.h"

namespace orliq::lidar {
namespace {

constexpr int kNoFrame = -1;

}  // namespace

template <typename T>
struct PcapManager<T>::Impl {
  bool Init(const DriverParam& param, std::uint32_t source);
  void Release();
  void ProcessData();
  void IndexRecord();
  void PlayOn();
  bool WaitForFrame(std::optional<FramePosPackage>& requested);
  void BeginFrame(const FramePosPackage& frame);
  void PlayRecord();
  bool Decode(std::uint16_t start);
  void FinishFrame();
  void EndOfFile();
  void SplitFrame(const unsigned short& rings, const double& timestamp);
  std::shared_ptr<T> GetPointCloud();

  ApplicationCallbacks<T> callbacks;

  // Never held while a callback runs: an application may hold a lock of its own around a call that
  // takes this mutex, and take that lock in its callbacks.
  std::mutex mutex;
  std::condition_variable wake;                          // a request came, or the worker shall stop
  std::vector<std::shared_ptr<FramePosPackage>> frames;  // guarded by mutex

  int requested_frame = kNoFrame;    // accepted and not yet begun; guarded by mutex
  bool playing = false;              // a frame is requested or being decoded; guarded by mutex
  std::atomic<bool> busy{false};     // a record is being decoded; set with mutex held
  unsigned generation = 0;           // of the last accepted request; guarded by mutex
  unsigned playing_generation = 0;   // of the frame being decoded; the worker's own
  std::atomic<bool> indexed{false};  // written by the worker and by Start

  RecordReader reader;
  FrameCounts counts;
  bool marks_begin_frames = false;  // of the model
  std::shared_ptr<Decoder<T>> decoder;
  std::shared_ptr<ParamService> param_service;
  CalibrationStatus calibration;
  Worker worker;  // last: its thread uses everything above
};

template <typename T>
bool PcapManager<T>::Impl::Init(const DriverParam& param, std::uint32_t source) {
  Release();
  decoder = DecoderFactory<T>::CreateDecoder(param.lidar_type, param.decoder_param);
  if (!decoder) return false;
  decoder->RegisterCallBack([this](const Error& error) { callbacks.ErrorException(error); },
                            [this](const unsigned short& rings, const double& timestamp) {
                              SplitFrame(rings, timestamp);
                            });
  const SensorModel& model = *FindSensorModel(param.lidar_type);
  counts.SetWholeFrame(model.returns);
  marks_begin_frames = model.frame_mark == FrameMark::First;
  param_service = std::make_shared<ParamService>();
  calibration = LoadCalibration(param, *param_service);
  if (calibration.loaded) decoder->UpdateCheckParam(param_service->GetCheckParam(param.lidar_type));
  if (!reader.Open(param, source)) {
    Release();
    return false;
  }
  decoder->InstallCloud(GetPointCloud());
  return true;
}

template <typename T>
void PcapManager<T>::Impl::Release() {
  reader.Close();
  decoder.reset();
  param_service.reset();
}

template <typename T>
void PcapManager<T>::Impl::ProcessData() {
  while (worker.Running()) {
    if (!indexed) {
      IndexRecord();
    } else {
      PlayOn();
    }
  }
}

/// Reads one record and notes it when a frame begins there. The first datagram of the file begins
/// one in any case.
template <typename T>
void PcapManager<T>::Impl::IndexRecord() {
  long position = 0;
  const int length = reader.Index(position);
  if (length < 0) {
    indexed = true;
    diagnostics::CaptureIndexed();
    return;
  }
  if (length == 0) return;
  std::uint16_t split_value = 0;
  const bool split = decoder->toSplite(reader.Data(), reader.Length(), split_value);
  if (!split && !frames.empty()) return;
  const std::lock_guard<std::mutex> lock(mutex);
  frames.push_back(std::make_shared<FramePosPackage>(position, split_value));
}

template <typename T>
void PcapManager<T>::Impl::PlayOn() {
  std::optional<FramePosPackage> requested;
  if (!WaitForFrame(requested)) return;
  if (requested) {
    BeginFrame(*requested);
  } else {
    PlayRecord();
  }
  busy = false;
}

/// Waits until a frame plays; false when the worker shall stop. A frame that has not begun yet is
/// handed out, and its request used up: should the file no longer have the record, its end ends the
/// frame.
template <typename T>
bool PcapManager<T>::Impl::WaitForFrame(std::optional<FramePosPackage>& requested) {
  std::unique_lock<std::mutex> lock(mutex);
  wake.wait(lock, [this] { return playing || !worker.Running(); });
  if (!worker.Running()) return false;
  busy = true;  // before anybody can end the frame that the record belongs to
  if (requested_frame == kNoFrame) return true;
  playing_generation = generation;
  requested = *frames[static_cast<std::size_t>(std::exchange(requested_frame, kNoFrame))];
  return true;
}

/// Moves to a frame and decodes its first packet. A mark in it is not this frame's end.
template <typename T>
void PcapManager<T>::Impl::BeginFrame(const FramePosPackage& frame) {
  if (reader.PlayAt(frame.position) <= 0) return;
  decoder->NoteJump();
  // The returns before that are not decoded again are of the frame before, or of both.
  counts.Begin(*decoder, marks_begin_frames ? frame.split_value : 0);
  Decode(frame.split_value);
}

template <typename T>
void PcapManager<T>::Impl::PlayRecord() {
  const int length = reader.PlayNext();
  if (length < 0) return EndOfFile();
  if (length > 0 && Decode(0)) FinishFrame();
}

/// The packet that was read last, from block `start` on; true when it carries a frame boundary.
template <typename T>
bool PcapManager<T>::Impl::Decode(std::uint16_t start) {
  return decoder->ProcessMsopPacket(reader.Data(), reader.Length(), start);
}

/// The frame is complete: ready for the next request, unless one was accepted meanwhile.
template <typename T>
void PcapManager<T>::Impl::FinishFrame() {
  const std::lock_guard<std::mutex> lock(mutex);
  if (generation == playing_generation) playing = false;
}

template <typename T>
void PcapManager<T>::Impl::EndOfFile() {
  decoder->EnableFinallyFrame();
  FinishFrame();
}

template <typename T>
void PcapManager<T>::Impl::SplitFrame(const unsigned short& /*rings*/, const double& timestamp) {
  counts.End(*decoder, callbacks);
  callbacks.PutPointCloud(*decoder, timestamp);
  decoder->InstallCloud(GetPointCloud());
}

template <typename T>
std::shared_ptr<T> PcapManager<T>::Impl::GetPointCloud() {
  if (!callbacks.get_point_cloud && !callbacks.abandoned) diagnostics::CloudProviderMissing();
  return callbacks.GetPointCloud();
}

template <typename T>
PcapManager<T>::PcapManager() : impl_(std::make_shared<Impl>()) {}

template <typename T>
PcapManager<T>::~PcapManager() {
  Abandon();
}

template <typename T>
void PcapManager<T>::Abandon() {
  if (impl_->worker.OnOwnThread()) impl_->callbacks.abandoned = true;
  Stop();
  impl_->worker.DetachIfOwnThread();
}

template <typename T>
bool PcapManager<T>::Init(const DriverParam& param) {
  Stop();
  this->GiveCallbacks(impl_->callbacks);
  const auto keep = impl_;  // the provider may end the manager
  return keep->Init(param, this->source);
}

template <typename T>
bool PcapManager<T>::Start() {
  if (!impl_->reader.IsOpen()) return false;
  if (impl_->worker.Running()) return true;
  impl_->worker.Join();
  {
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->indexed = false;
    impl_->playing = false;
    impl_->requested_frame = kNoFrame;
  }
  return impl_->worker.Start("orliq-play", impl_, [impl = impl_.get()] { impl->ProcessData(); });
}

template <typename T>
void PcapManager<T>::Stop() {
  {
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->worker.RequestStop();
  }
  impl_->wake.notify_all();
  impl_->worker.Join();
}

template <typename T>
void PcapManager<T>::UpdateTransform(const TransformParam& transform) {
  if (impl_->decoder) impl_->decoder->UpdateTransform(transform);
}

template <typename T>
bool PcapManager<T>::GetLocalFileStatus(int& status) {
  if (!impl_->indexed) return false;
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  status = static_cast<int>(impl_->frames.size());
  impl_->playing = false;
  return true;
}

template <typename T>
bool PcapManager<T>::PlayLocalFileFrame(const int& index) {
  if (!impl_->indexed) return false;
  {
    const std::lock_guard<std::mutex> lock(impl_->mutex);
    if (impl_->playing || index < 0 || static_cast<std::size_t>(index) >= impl_->frames.size()) {
      return false;
    }
    impl_->requested_frame = index;
    ++impl_->generation;
    impl_->playing = true;
  }
  impl_->wake.notify_all();
  return true;
}

template <typename T>
bool PcapManager<T>::IsLocalFramePlaying() const {
  const std::lock_guard<std::mutex> lock(impl_->mutex);
  return (impl_->playing && impl_->worker.Running()) || impl_->busy;
}

template <typename T>
bool PcapManager<T>::GetStatistics(DriverStatistics& statistics) const {
  const Impl& impl = *impl_;
  if (!impl.reader.IsOpen()) return false;
  statistics = {};
  // Against the way of a packet, so that no sum exceeds what was read.
  impl.counts.Count(*impl.decoder, statistics);
  impl.reader.Count(statistics);
  return true;
}

template <typename T>
bool PcapManager<T>::GetCalibrationStatus(CalibrationStatus& status) const {
  if (!impl_->reader.IsOpen()) return false;
  status = impl_->calibration;
  return true;
}

#define ORLIQ_INSTANTIATE(CLOUD) template class PcapManager<CLOUD>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
