// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libwebsockets.h>

#include <cstddef>
#include <string_view>
#include <vector>

#include "orliq/web/WebConnection.h"

namespace orliq::cli {

/// The WebSockets of a server: whole messages between its handler and the frames of the C library. Belongs
/// to the server's thread; what its functions return is for the library: negative ends the connection.
class WebStream {
 public:
  /// Both outlive this.
  WebStream(const WebSettings& settings, WebHandler& handler)
      : settings_(settings), handler_(handler), scratch_(LWS_PRE + kChunk) {}

  std::size_t Clients() const { return clients_; }

  /// Of a request to go on as `protocol`. Positive: it was refused in words.
  int Confirm(lws* socket, const char* protocol) const;

  int Join(lws* socket, WebConnection& connection);
  int Leave(WebConnection& connection);

  /// A part of a message.
  int Receive(lws* socket, WebConnection& connection, std::string_view part);

  /// Some of what waits for the client, since its socket takes it; when nothing does and the server is
  /// `stopping`, the farewell.
  int Send(lws* socket, WebConnection& connection, bool stopping);

 private:
  bool IsStream(lws* socket, const char* protocol) const;
  bool Take(lws* socket, WebConnection& connection);
  int SendPart(lws* socket, WebConnection& connection);

  const WebSettings& settings_;
  WebHandler& handler_;
  std::vector<unsigned char> scratch_;  // what the library is given to write has room ahead of it
  std::size_t clients_ = 0;
  WebHandler::Client last_client_ = 0;
};

}  // namespace orliq::cli
