// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebStream.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <string>
#include <utility>

#include "orliq/web/WebRequests.h"

namespace orliq::cli {
namespace {

/// Lets the system hold back little of what the network has not taken yet, else some MB: to a slow client those
/// are seconds of clouds that are old when they come, and a ping behind them comes too late for its answer.
void KeepNothingBack(lws* socket) {
  const int most = static_cast<int>(kChunk);
  ::setsockopt(::lws_get_socket_fd(socket), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &most, sizeof(most));
}

/// Nothing may follow the frame that says why, and nothing that still comes is looked at.
int Close(lws* socket, WebConnection& connection, lws_close_status why) {
  connection.ended = true;
  ::lws_close_reason(socket, why, nullptr, 0);
  return -1;
}

}  // namespace

int WebStream::Confirm(lws* socket, const char* protocol) const {
  std::string refusal = WhyRefused(socket, settings_);
  int status = kForbidden;
  if (refusal.empty() && clients_ >= WebServer::kClients) {
    refusal = "As many clients are connected as can be served.";
    status = kTooManyClients;
  }
  if (refusal.empty() && !IsStream(socket, protocol)) {
    refusal = "The stream is at " + std::string(settings_.path) + ", subprotocol " +
              std::string(settings_.stream) + '.';
    status = kBadRequest;
  }
  if (refusal.empty()) return 0;
  return ::lws_return_http_status(socket, static_cast<unsigned>(status), refusal.c_str()) < 0 ? -1
                                                                                              : 1;
}

/// The library would change to HTTP/2 as well.
bool WebStream::IsStream(lws* socket, const char* protocol) const {
  return ::strcasecmp(protocol, "websocket") == 0 &&
         Header(socket, WSI_TOKEN_GET_URI) == settings_.path &&
         Lists(socket, WSI_TOKEN_PROTOCOL, settings_.stream);
}

int WebStream::Join(lws* socket, WebConnection& connection) {
  connection = {};
  connection.client = ++last_client_;
  connection.taken = new std::string;  // NOLINT: given back by Leave, the library's memory is plain
  ++clients_;
  KeepNothingBack(socket);
  handler_.Join(connection.client);
  ::lws_callback_on_writable(socket);
  return 0;
}

int WebStream::Leave(WebConnection& connection) {
  if (connection.client == 0) return 0;
  handler_.Leave(connection.client);
  delete connection.message;  // NOLINT: see Join
  delete connection.taken;    // NOLINT: see Join
  connection = {};
  --clients_;
  return 0;
}

int WebStream::Receive(lws* socket, WebConnection& connection, std::string_view part) {
  if (connection.ended) return 0;
  const bool fits = connection.taken->size() + part.size() <= settings_.longest;
  if (fits) *connection.taken += part;
  if (fits && Take(socket, connection)) return 0;
  return Close(socket, connection, LWS_CLOSE_STATUS_POLICY_VIOLATION);
}

/// Hands the message on once it is whole; false when that is none for the handler.
bool WebStream::Take(lws* socket, WebConnection& connection) {
  const bool whole =
      ::lws_is_final_fragment(socket) != 0 && ::lws_remaining_packet_payload(socket) == 0;
  if (!whole) return true;
  const std::string message = std::exchange(*connection.taken, {});
  const bool welcome = ::lws_frame_is_binary(socket) != 0
                           ? handler_.TakeBytes(connection.client, message)
                           : handler_.Take(connection.client, message);
  if (welcome) ::lws_callback_on_writable(socket);
  return welcome;
}

int WebStream::Send(lws* socket, WebConnection& connection, bool stopping) {
  if (connection.client == 0 || connection.ended) return 0;
  if (connection.message == nullptr) {
    connection.message = handler_.Next(connection.client).release();
    connection.sent = 0;
  }
  if (connection.message != nullptr) return SendPart(socket, connection);
  return stopping ? Close(socket, connection, LWS_CLOSE_STATUS_GOINGAWAY) : 0;
}

/// As much of the message as the socket takes at once, as one fragment of it.
int WebStream::SendPart(lws* socket, WebConnection& connection) {
  const WebMessage& message = *connection.message;
  const std::size_t whole = message.Size();
  const std::size_t size = std::min(whole - connection.sent, kChunk);
  unsigned char* const bytes = scratch_.data() + LWS_PRE;
  message.Copy(connection.sent, size, bytes);
  const bool first = connection.sent == 0;
  connection.sent += size;
  const bool last = connection.sent == whole;
  const int kind = ::lws_write_ws_flags(message.binary ? LWS_WRITE_BINARY : LWS_WRITE_TEXT,
                                        static_cast<int>(first), static_cast<int>(last));
  if (::lws_write(socket, bytes, size, static_cast<lws_write_protocol>(kind)) < 0) return -1;
  if (last) delete std::exchange(connection.message, nullptr);  // NOLINT: see Join
  ::lws_callback_on_writable(socket);
  return 0;
}

}  // namespace orliq::cli
