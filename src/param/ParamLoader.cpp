// SPDX-License-Identifier: Apache-2.0
#include "param/ParamLoader.h"

#include <algorithm>
#include <array>
#include <thread>
#include <utility>

namespace orliq::lidar {
namespace {

using std::chrono::milliseconds;

constexpr std::uint16_t kFirstLength = 1000;   // [bytes] asked for at first
constexpr std::uint16_t kClosingLength = 100;  // of the request that ends an upload in one piece
constexpr std::chrono::nanoseconds kRepeatAfter{10'001'000};
constexpr std::chrono::seconds kLongestLate{1};
constexpr milliseconds kPause{1};
constexpr milliseconds kIdlePause{100};
constexpr milliseconds kBusyPause{10};  // between datagrams that nobody asked for

}  // namespace

ParamLoader::ParamLoader(const LidarType& type, std::shared_ptr<ParamService> service,
                         std::shared_ptr<UDPSelect> channel, bool strict)
    : type_(type), service_(std::move(service)), channel_(std::move(channel)), strict_(strict) {
  request_.length.Set(kFirstLength);
  if (strict_) channel_->AcceptOnlyRemote();
}

bool ParamLoader::StartLoad(const std::string& name, const std::shared_ptr<void>& owner,
                            const std::function<void()>& begin) {
  return worker_.Start(name, owner, [this, begin] {
    begin();
    Load();
  });
}

void ParamLoader::StopLoad() {
  worker_.RequestStop();
  worker_.Join();
}

bool ParamLoader::UseTables(std::uint64_t decoded) {
  if (!pending_update_ || !finished_) return false;
  decoded_before_use_ = decoded;
  pending_update_ = false;
  return true;
}

void ParamLoader::GetCommand(std::uint8_t* command, const int& length) {
  if (length < 1) return;
  unsigned sum = 0;
  for (int i = 0; i < length - 1; ++i) sum += command[i];
  command[length - 1] = static_cast<std::uint8_t>(sum);
}

void ParamLoader::Load() {
  while (worker_.Running()) {
    if (active_) {
      Exchange();
    } else {
      Drain();
    }
  }
}

void ParamLoader::Exchange() {
  if (!awaiting_ && LearnRemote() && DiscardLate()) SendRequest();
  if (awaiting_) AwaitReply();
  std::this_thread::sleep_for(kPause);
}

void ParamLoader::Drain() {
  std::array<signed char, kLongestReply> unasked;
  const bool came = channel_->RecvData(unasked.data(), kLongestReply) != 0;
  if (came) discarded_.Add();
  std::this_thread::sleep_for(came ? kBusyPause : kIdlePause);
}

/// Without an address there is nobody to ask: the first datagram tells it, and is no reply.
bool ParamLoader::LearnRemote() {
  if (channel_->KnowsRemote()) return true;
  std::array<signed char, kLongestReply> greeting;
  if (channel_->RecvData(greeting.data(), kLongestReply) != 0) discarded_.Add();
  return channel_->KnowsRemote();
}

/// Whether the next request can be sent: replies to the one before have come or had their time.
bool ParamLoader::DiscardLate() {
  if (sent_ > 0) return true;  // it is the same request again
  const auto rest = std::chrono::duration_cast<milliseconds>(late_until_ - Clock::now()).count();
  if (late_ > 0 && rest > 0) {
    const int wait = std::min(static_cast<int>(rest), UDPSelect::kWaitMs);
    std::array<signed char, kLongestReply> late;
    if (!channel_->WaitReadEvent(wait) || channel_->RecvData(late.data(), kLongestReply) == 0) {
      return false;
    }
    discarded_.Add();
    pieces_.NoteReply();
    --late_;
    return false;
  }
  late_ = 0;
  for (std::size_t waiting = channel_->Discard(); waiting > 0; --waiting) {
    discarded_.Add();
    pieces_.NoteReply();
  }
  return true;
}

void ParamLoader::SendRequest() {
  auto* const command = reinterpret_cast<std::uint8_t*>(&request_);
  GetCommand(command, sizeof request_);
  if (!channel_->SendData(command, sizeof request_)) {
    send_errors_.Add();
    return;
  }
  awaiting_ = true;
  last_sent_ = Clock::now();
  if (sent_++ == 0) first_sent_ = last_sent_;
  if (requests_.Value() == 0) started_ = last_sent_;
  requests_.Add();
  if (sent_ > 1) repeated_.Add();
  pieces_.NoteRequest();
}

void ParamLoader::AwaitReply() {
  std::array<signed char, kLongestReply> reply = {};
  const int length = channel_->RecvData(reply.data(), kLongestReply);
  if (length > 0 && finished_) {  // with every table here, any reply ends it
    replies_.Add();
    active_ = false;
    awaiting_ = false;
  } else if (length <= 0 || !TakeReply(reply.data(), length)) {
    if (Clock::now() - last_sent_ > kRepeatAfter) awaiting_ = false;
  }
}

/// False when the datagram answers nothing: the reply is still awaited then.
bool ParamLoader::TakeReply(const signed char* reply, int length) {
  if (strict_ && !service_->IsWhole(reply, length, request_.length)) {
    unusable_.Add();
    return false;
  }
  if (strict_ && IsCopy(reply, length)) {
    discarded_.Add();
    return false;
  }
  bool last = false;
  bool done = false;
  const int next = service_->PushData(type_, reply, length, last, done);
  const ReplyFault fault = service_->LastReplyFault();
  CountFault(fault);
  const bool answers = fault == ReplyFault::None || (fault == ReplyFault::Marker && !strict_);
  if (!answers) return false;
  if (strict_) pieces_.Take(reply + kReplyHeader, static_cast<std::size_t>(length - kNoPayload));
  if (done) {
    Complete();
  } else {
    AskForNext(next, last);
  }
  return true;
}

/// Only what is a reply otherwise is looked at.
bool ParamLoader::IsCopy(const signed char* reply, int length) {
  if (service_->Examine(reply, length) != ReplyFault::None) return false;
  pieces_.NoteReply();
  return pieces_.IsCopy(reply + kReplyHeader, static_cast<std::size_t>(length - kNoPayload));
}

void ParamLoader::CountFault(ReplyFault fault) {
  switch (fault) {
    case ReplyFault::None:
      replies_.Add();
      break;
    case ReplyFault::Marker:
      wrong_marker_.Add();
      break;
    case ReplyFault::Short:
    case ReplyFault::Total:
      unusable_.Add();
      break;
  }
  received_bytes_.Set(static_cast<std::uint64_t>(std::max(service_->ReceivedSize(), 0)));
  total_bytes_.Set(static_cast<std::uint64_t>(std::max(service_->TotalSize(), 0)));
}

/// The offset advances by what was asked for, whatever came.
void ParamLoader::AskForNext(int length, bool last) {
  request_.offset.Set(request_.offset + request_.length);
  request_.length.Set(static_cast<std::uint16_t>(length));
  request_.last = last ? 1 : 0;
  last_ = last;
  BeginRequest();
}

/// The sensor is to know that the last piece has come: when no reply had announced that one as the
/// last, by one more request.
void ParamLoader::Complete() {
  duration_ns_.Set(
      static_cast<std::uint64_t>(std::chrono::nanoseconds(Clock::now() - started_).count()));
  active_ = !last_;
  if (active_) {
    request_.offset.Set(0);
    request_.length.Set(kClosingLength);
  }
  BeginRequest();
  finished_ = true;
  on_tables_();
}

void ParamLoader::BeginRequest() {
  awaiting_ = false;
  late_ = strict_ && pieces_.KnowsLast() ? 0 : sent_ - 1;
  const Clock::duration longest = kLongestLate;
  late_until_ = last_sent_ + std::min(2 * (Clock::now() - first_sent_), longest);
  sent_ = 0;
}

UploadState ParamLoader::State() const {
  if (finished_) return pending_update_ ? UploadState::Received : UploadState::InUse;
  return received_bytes_.Value() > 0 ? UploadState::Receiving : UploadState::Asking;
}

void ParamLoader::Count(UploadStatistics& statistics) const {
  statistics.decoded_before_use = decoded_before_use_;
  statistics.duration_s = finished_ ? static_cast<double>(duration_ns_.Value()) * 1e-9 : -1.0;
  statistics.state = State();
  statistics.received_bytes = received_bytes_.Value();
  statistics.total_bytes = total_bytes_.Value();
  statistics.sensor = channel_->Remote();
  statistics.replies = replies_.Value();
  statistics.wrong_marker = wrong_marker_.Value();
  statistics.unusable = unusable_.Value();
  statistics.discarded = discarded_.Value();
  statistics.other_source = channel_->OtherSenders();
  statistics.repeated = repeated_.Value();
  statistics.requests = requests_.Value();
  statistics.send_errors = send_errors_.Value();
}

}  // namespace orliq::lidar
