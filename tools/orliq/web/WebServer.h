// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/web/WebAccess.h"

namespace orliq::cli {

/// One WebSocket message. Clients that get the same body share it.
struct WebMessage {
  bool binary = false;
  std::string head;                         ///< before the body; all of a text message
  std::shared_ptr<const std::string> body;  ///< may be null

  std::size_t Size() const { return head.size() + (body ? body->size() : 0); }

  /// `size` bytes of it from `offset` on, which must be there.
  void Copy(std::size_t offset, std::size_t size, unsigned char* to) const;
};

/// What a web server shows and whom it listens to. All calls come from the server's thread.
class WebHandler {
 public:
  using Client = std::uint64_t;  ///< number of a WebSocket, never used again

  WebHandler() = default;
  virtual ~WebHandler() = default;
  WebHandler(const WebHandler&) = delete;
  WebHandler& operator=(const WebHandler&) = delete;

  virtual void Join(Client client) = 0;
  virtual void Leave(Client client) = 0;

  /// A whole text message; false ends the connection.
  virtual bool Take(Client client, std::string_view text) = 0;

  /// Likewise a binary one, which only some expect.
  virtual bool TakeBytes(Client /*client*/, std::string_view /*bytes*/) { return false; }

  /// What the client gets next, when its socket can take more; null: nothing until Wake.
  virtual std::unique_ptr<WebMessage> Next(Client client) = 0;
};

/// A file of the page. What it refers to outlives the server.
struct WebFile {
  std::string_view path;  ///< "/" for the page itself
  std::string_view type;  ///< "text/html; charset=utf-8"
  std::string_view bytes;
  std::string_view policy = {};  ///< Content-Security-Policy; empty: nothing may be loaded or run
};

/// What a server serves, where and to whom.
struct WebSettings {
  std::string address = "127.0.0.1";  ///< IPv4 address to listen on
  std::uint16_t port = 0;             ///< 0: any that is free
  WebRules rules;                     ///< who is welcome
  std::string_view stream;            ///< subprotocol of the WebSocket, which clients must offer
  std::string_view path = "/stream";  ///< of the WebSocket
  std::size_t longest = 1024;         ///< [bytes] of a message from a client
  std::vector<WebFile> files;         ///< the page; may be none
};

/// Serves a page and one kind of WebSocket over HTTP/1.1 from a thread of its own, by libwebsockets: a small
/// C library whose event loop asks for a message when a client can take one, which is all the flow control
/// that is needed. At most kClients WebSockets are open and kConnections in all; a request, a message or
/// a frame that is malformed or too long ends its connection and nothing else; but a frame without a mask,
/// which no browser sends, is taken, as the library tells its callback nothing of masks. A process may have
/// several servers.
class WebServer {
 public:
  static constexpr std::size_t kClients = 8;
  static constexpr std::size_t kConnections = 64;

  /// Listens when it returns. `handler` outlives this. Throws Failure when the port cannot be had.
  WebServer(WebSettings settings, WebHandler& handler);

  /// Gives clients what waits, half a second long, and ends the thread.
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::uint16_t Port() const;

  /// There may be something new for the clients. From any thread; never waits.
  void Wake();

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};

}  // namespace orliq::cli
