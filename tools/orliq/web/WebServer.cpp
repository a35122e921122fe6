// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebServer.h"

#include <libwebsockets.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

#include "orliq/terminal/ExitCode.h"
#include "orliq/web/TcpPort.h"
#include "orliq/web/WebConnection.h"
#include "orliq/web/WebPage.h"
#include "orliq/web/WebStream.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kFarewell{500};
constexpr unsigned kPatience = 5;      // [s] for a request to be complete
constexpr char kNoToken[] = "(page)";  // name of what no client can ask for as its subprotocol
constexpr unsigned kOwnFiles = 16;  // the library's: the socket that listens, the one that wakes it

/// How long clients are waited for in the end.
struct Farewell {
  lws_context* context;
  lws_sorted_usec_list_t timer;
  bool over;
};

}  // namespace

/// The library's context and the thread that it runs on.
class WebServer::Loop {
 public:
  Loop(WebSettings settings, WebHandler& handler)
      : settings_(std::move(settings)),
        protocol_(settings_.stream),
        page_(settings_),
        stream_(settings_, handler) {
    Listen();
    thread_ = std::thread([this] { Run(); });
  }

  ~Loop() {
    stopping_ = true;
    Wake();
    thread_.join();
    ::lws_context_destroy(context_);
  }
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  std::uint16_t Port() const { return port_; }
  void Wake() { ::lws_cancel_service(context_); }

 private:
  static int OnEvent(lws* socket, lws_callback_reasons reason, void* user, void* in,
                     std::size_t length) {
    auto* const loop = static_cast<Loop*>(::lws_context_user(::lws_get_context(socket)));
    return loop->Handle(socket, reason, static_cast<WebConnection*>(user), in, length);
  }

  void Listen() {
    RequireTcpPort(settings_.address, settings_.port);
    ::lws_set_log_level(0, nullptr);  // what goes wrong here is told by this program
    lws_context_creation_info info = {};
    info.port = settings_.port;
    info.iface = settings_.address.c_str();
    info.protocols = protocols_.data();
    info.gid = info.uid = -1;
    info.user = this;
    info.options = LWS_SERVER_OPTION_DISABLE_IPV6 | LWS_SERVER_OPTION_FAIL_UPON_UNABLE_TO_BIND |
                   LWS_SERVER_OPTION_SKIP_SERVER_CANONICAL_NAME;
    info.timeout_secs = info.timeout_secs_ah_idle = kPatience;
    info.keepalive_timeout = kPatience;
    // Else its tables are as long as the system's limit of files allows, and that may be a thousand million.
    info.fd_limit_per_thread = kConnections + kOwnFiles;
    info.retry_and_idle_policy = &kIdle;
    context_ = ::lws_create_context(&info);
    if (context_ == nullptr) {
      throw Failure(ExitCode::kFileFault,
                    "cannot listen on TCP port " + std::to_string(settings_.port) + " of " +
                        settings_.address + ": the system gives too little for it");
    }
    port_ = static_cast<std::uint16_t>(
        ::lws_get_vhost_listen_port(::lws_get_vhost_by_name(context_, "default")));
  }

  void Run() {
    ::pthread_setname_np(::pthread_self(), "orliq-web");
    while (!stopping_) ::lws_service(context_, 0);
    // Nothing else would end the wait for a client that takes nothing.
    const auto at_end = [](lws_sorted_usec_list_t* timer) {
      auto* const farewell = lws_container_of(timer, Farewell, timer);
      farewell->over = true;
      ::lws_cancel_service(farewell->context);  // which waits for events behind its timers
    };
    farewell_.context = context_;
    ::lws_sul_schedule(context_, 0, &farewell_.timer, at_end,
                       std::chrono::microseconds(kFarewell).count());
    while (stream_.Clients() > 0 && !farewell_.over) ::lws_service(context_, 0);
  }

  int Handle(lws* socket, lws_callback_reasons reason, WebConnection* connection, void* in,
             std::size_t length) {
    switch (reason) {
      case LWS_CALLBACK_FILTER_NETWORK_CONNECTION:
        return connections_ >= kConnections ? 1 : 0;
      case LWS_CALLBACK_WSI_CREATE:
        ++connections_;
        return 0;
      case LWS_CALLBACK_WSI_DESTROY:
        --connections_;
        return 0;
      case LWS_CALLBACK_HTTP:
        return page_.Answer(socket, *connection, {static_cast<const char*>(in), length});
      case LWS_CALLBACK_HTTP_WRITEABLE:
        return page_.Send(socket, *connection);
      case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:
        return stream_.Confirm(socket, static_cast<const char*>(in));
      case LWS_CALLBACK_ESTABLISHED:
        return stream_.Join(socket, *connection);
      case LWS_CALLBACK_RECEIVE:
        return stream_.Receive(socket, *connection, {static_cast<const char*>(in), length});
      case LWS_CALLBACK_SERVER_WRITEABLE:
        return stream_.Send(socket, *connection, stopping_);
      case LWS_CALLBACK_CLOSED:
        return stream_.Leave(*connection);
      case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
        return ::lws_callback_on_writable_all_protocol(context_, &protocols_[1]) < 0 ? -1 : 0;
      default:
        return 0;
    }
  }

  /// A client that says nothing is asked whether it lives.
  static constexpr lws_retry_bo_t kIdle = {nullptr, 0, 0, 20, 30, 0};

  const WebSettings settings_;
  const std::string protocol_;  // with an end that the library can find
  const std::array<lws_protocols, 3> protocols_ = {
      lws_protocols{kNoToken, OnEvent, sizeof(WebConnection), 0, 0, nullptr, kChunk},
      lws_protocols{protocol_.c_str(), OnEvent, sizeof(WebConnection), settings_.longest, 0,
                    nullptr, kChunk},
      lws_protocols{}};
  lws_context* context_ = nullptr;
  std::uint16_t port_ = 0;
  WebPage page_;  // of the thread, as what follows
  WebStream stream_;
  std::size_t connections_ = 0;
  Farewell farewell_ = {};
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

WebServer::WebServer(WebSettings settings, WebHandler& handler)
    : loop_(std::make_unique<Loop>(std::move(settings), handler)) {}

WebServer::~WebServer() = default;

std::uint16_t WebServer::Port() const {
  return loop_->Port();
}

void WebServer::Wake() {
  loop_->Wake();
}

}  // namespace orliq::cli
