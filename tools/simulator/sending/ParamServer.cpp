// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/ParamServer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <thread>
#include <utility>

#include "simulator/sending/ParamWire.h"
#include "simulator/sending/ReplyRoad.h"

namespace orliq::sim {
namespace {

using Clock = ReplyRoad::Clock;

constexpr std::chrono::milliseconds kPortTakenPause{10};  // before the next try to have it back
constexpr std::uint8_t kGreeting = 0;

std::error_code LastError() {
  return {errno, std::generic_category()};
}

bool ParseAddress(const std::string& text, std::uint16_t port, sockaddr_in& address) {
  address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  return ::inet_pton(AF_INET, text.c_str(), &address.sin_addr) == 1;
}

/// A socket that nobody shares: another server on the port would take some of the requests. -1, and
/// errno, when that cannot be had.
int BoundSocket(const sockaddr_in& address) {
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (descriptor < 0) return -1;
  if (::bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
    return descriptor;
  }
  const int fault = errno;
  ::close(descriptor);
  errno = fault;
  return -1;
}

}  // namespace

class ParamServer::Impl {
 public:
  Impl(const ParamServerOptions& options, std::vector<std::uint8_t> image)
      : options_(options), image_(std::move(image)), road_(options) {}
  ~Impl() {
    Stop();
    if (wake_ >= 0) ::close(wake_);
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;

  std::error_code Start();
  void Stop();
  bool Greet(const sockaddr_in& to);
  std::uint16_t Port() const { return ntohs(address_.sin_port); }

  ParamServerCounts Counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
  }

 private:
  void Serve();
  void WaitForEvent(pollfd (&events)[2]) const;
  std::optional<Clock::time_point> NextMoment() const;
  void TakeDatagram();
  void Answer(const sockaddr_in& to, const ParamRequest& request);
  void SendAll(const ReplyRoad::Replies& replies);
  void CountServed(const ParamPiece& piece);
  void GoDown();
  void ComeBack();
  void Close();

  const ParamServerOptions options_;
  const std::vector<std::uint8_t> image_;
  int wake_ = -1;             // readable: the thread is to end
  sockaddr_in address_ = {};  // with the port that it got
  std::thread thread_;

  mutable std::mutex mutex_;
  int socket_ = -1;           // changed by the thread under mutex_; -1 while it is down
  ParamServerCounts counts_;  // guarded by mutex_

  // Of the thread alone:
  ReplyRoad road_;
  Clock::time_point back_at_{};  // while it is down
  bool restarted_ = false;
};

std::error_code ParamServer::Impl::Start() {
  if (!ParseAddress(options_.address, options_.port, address_)) {
    return std::make_error_code(std::errc::invalid_argument);
  }
  wake_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wake_ < 0) return LastError();
  socket_ = BoundSocket(address_);
  socklen_t size = sizeof address_;
  if (socket_ < 0 || ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address_), &size) != 0) {
    return LastError();
  }
  try {
    thread_ = std::thread([this] { Serve(); });
  } catch (const std::system_error& fault) {
    return fault.code();
  }
  return {};
}

void ParamServer::Impl::Stop() {
  if (thread_.joinable()) {
    ::eventfd_write(wake_, 1);
    thread_.join();
  }
  Close();
}

bool ParamServer::Impl::Greet(const sockaddr_in& to) {
  const std::lock_guard lock(mutex_);
  return ::sendto(socket_, &kGreeting, sizeof kGreeting, 0, reinterpret_cast<const sockaddr*>(&to),
                  sizeof to) == sizeof kGreeting;
}

void ParamServer::Impl::Serve() {
  for (;;) {
    pollfd events[] = {{wake_, POLLIN, 0}, {socket_, POLLIN, 0}};
    WaitForEvent(events);
    if (events[0].revents != 0) return;
    if (socket_ < 0) {
      ComeBack();
      continue;
    }
    ReplyRoad::Replies leaving;
    road_.Leave(Clock::now(), leaving);
    SendAll(leaving);
    if (events[1].revents != 0) TakeDatagram();
    const bool due = options_.restart_after > 0 && counts_.replies >= options_.restart_after;
    if (due && !restarted_) GoDown();
  }
}

void ParamServer::Impl::WaitForEvent(pollfd (&events)[2]) const {
  timespec left = {};
  const auto moment = NextMoment();
  if (moment) {
    const auto time = std::max(Clock::duration::zero(), *moment - Clock::now());
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    left.tv_sec = seconds.count();
    left.tv_nsec = std::chrono::nanoseconds(time - seconds).count();
  }
  ::ppoll(events, 2, moment ? &left : nullptr, nullptr);
}

std::optional<Clock::time_point> ParamServer::Impl::NextMoment() const {
  if (socket_ < 0) return back_at_;
  return road_.NextMoment();
}

void ParamServer::Impl::TakeDatagram() {
  std::uint8_t bytes[kParamRequestBytes];
  sockaddr_in from = {};
  socklen_t size = sizeof from;
  const ssize_t length = ::recvfrom(socket_, bytes, sizeof bytes, MSG_TRUNC,  // its true length
                                    reinterpret_cast<sockaddr*>(&from), &size);
  if (length < 0) return;
  const auto request = ReadParamRequest(bytes, static_cast<std::size_t>(length));
  {
    const std::lock_guard lock(mutex_);
    ++(request ? counts_.requests : counts_.invalid);
  }
  if (request) Answer(from, *request);
}

void ParamServer::Impl::Answer(const sockaddr_in& to, const ParamRequest& request) {
  const ParamPiece piece = PieceFor(request, image_.size());
  ReplyRoad::Replies leaving;
  road_.Pass({to, ParamReply(image_, piece), piece}, Clock::now(), leaving);
  SendAll(leaving);
}

void ParamServer::Impl::SendAll(const ReplyRoad::Replies& replies) {
  const std::lock_guard lock(mutex_);  // who has the reply finds it counted
  counts_.faults = road_.Counts();
  for (const SentReply& reply : replies) {
    const ssize_t sent = ::sendto(socket_, reply.bytes.data(), reply.bytes.size(), 0,
                                  reinterpret_cast<const sockaddr*>(&reply.to), sizeof reply.to);
    if (sent < 0) {
      ++counts_.not_sent;
      continue;
    }
    ++counts_.replies;
    counts_.bytes += static_cast<std::uint64_t>(sent);
    CountServed(reply.piece);
  }
}

/// A piece counts when it goes on where the bytes served end, or overlaps them.
void ParamServer::Impl::CountServed(const ParamPiece& piece) {
  std::uint64_t& served = counts_.image_bytes_served;
  if (piece.begin == piece.end) return;
  if (piece.begin == 0 && served == image_.size()) served = 0;  // the next image begins
  if (piece.begin > served || piece.end <= served) return;
  served = piece.end;
  if (served == image_.size()) ++counts_.images;
}

void ParamServer::Impl::GoDown() {
  Close();
  road_.Restart();
  restarted_ = true;
  back_at_ = Clock::now() + options_.down;
}

void ParamServer::Impl::ComeBack() {
  if (Clock::now() < back_at_) return;
  const int descriptor = BoundSocket(address_);
  if (descriptor < 0) {  // somebody else has the port meanwhile
    back_at_ = Clock::now() + kPortTakenPause;
    return;
  }
  const std::lock_guard lock(mutex_);
  socket_ = descriptor;
  ++counts_.restarts;
}

void ParamServer::Impl::Close() {
  const std::lock_guard lock(mutex_);
  if (socket_ >= 0) ::close(socket_);
  socket_ = -1;
}

std::unique_ptr<ParamServer> ParamServer::Create(const ParamServerOptions& options,
                                                 std::vector<std::uint8_t> image,
                                                 std::error_code& error) {
  auto impl = std::make_unique<Impl>(options, std::move(image));
  error = impl->Start();
  if (error) return nullptr;
  return std::unique_ptr<ParamServer>(new ParamServer(std::move(impl)));
}

ParamServer::ParamServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

ParamServer::~ParamServer() = default;

std::uint16_t ParamServer::Port() const {
  return impl_->Port();
}

bool ParamServer::Greet(const std::string& address, std::uint16_t port) {
  sockaddr_in to = {};
  return ParseAddress(address, port, to) && impl_->Greet(to);
}

ParamServerCounts ParamServer::Counts() const {
  return impl_->Counts();
}

void ParamServer::Stop() {
  impl_->Stop();
}

}  // namespace orliq::sim
