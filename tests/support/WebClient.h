// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <string>

namespace orliq::test {

/// A TCP connection to a web server of this machine that says just what it is told to.
class WebClient {
 public:
  explicit WebClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
    const timeval patience = {20, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(port);
    closed_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&to), sizeof(to)) != 0;
  }
  ~WebClient() { ::close(socket_); }
  WebClient(const WebClient&) = delete;
  WebClient& operator=(const WebClient&) = delete;

  /// Whether the other side was heard to close.
  bool Closed() const { return closed_; }

  void Say(const std::string& bytes) const {
    ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }

  /// All until the other side closes or `end` has come; empty: until it closes.
  std::string Hear(const std::string& end = "") {
    char bytes[65536];
    while (end.empty() || heard_.find(end) == std::string::npos) {
      const auto size = ::recv(socket_, bytes, sizeof(bytes), 0);
      closed_ = closed_ || size == 0;
      if (size <= 0) break;
      heard_.append(bytes, static_cast<std::size_t>(size));
    }
    return heard_;
  }

  /// Sends the request lines with what a request needs, and gives all of the answer.
  std::string Ask(const std::string& line, const std::string& headers = "Host: localhost\r\n") {
    Say(line + " HTTP/1.1\r\n" + headers + "Connection: close\r\n\r\n");
    return Hear();
  }

  /// Opens a WebSocket; the status of the answer, 101 when it is open.
  std::string Upgrade(const std::string& headers = "Host: localhost\r\n",
                      const std::string& path = "/stream", const std::string& protocol = "test.1") {
    Say("GET " + path + " HTTP/1.1\r\n" + headers +
        "Upgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Version: 13\r\n"
        "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\nSec-WebSocket-Protocol: " +
        protocol + "\r\n\r\n");
    return Status(Hear("\r\n"));
  }

  static std::string Status(const std::string& answer) {
    return answer.size() < 12 ? "none" : answer.substr(9, 3);
  }

  /// A frame as a client sends it, masked with zeros.
  static std::string Frame(int first_byte, const std::string& payload) {
    std::string frame(1, static_cast<char>(first_byte));
    if (payload.size() < 126) {
      frame += static_cast<char>(0x80 | payload.size());
    } else {
      frame += static_cast<char>(0x80 | 126);
      frame += static_cast<char>(payload.size() >> 8U);
      frame += static_cast<char>(payload.size() & 0xFFU);
    }
    return frame + std::string(4, '\0') + payload;
  }

 private:
  int socket_;
  bool closed_ = false;
  std::string heard_;
};

}  // namespace orliq::test
