// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>

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
    while ((end.empty() || heard_.find(end) == std::string::npos) && Read()) {
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

  /// A message of the WebSocket, from as many frames as it came in.
  struct Message {
    int kind = 0;  // 1: a text, 2: bytes, 8: the farewell; 0: none has come
    std::string payload;
  };

  /// The next one behind the answer to Upgrade.
  Message Next() {
    if (at_ == 0) at_ = Hear("\r\n\r\n").find("\r\n\r\n") + 4;
    Message message;
    int first = 0;
    while ((first & 0x80) == 0) {
      if (!Has(2)) return {};
      first = Byte(0);
      const int small = Byte(1);
      const std::size_t wide = small == 126 ? 2 : small == 127 ? 8 : 0;
      if (!Has(2 + wide)) return {};
      std::size_t size = wide == 0 ? static_cast<std::size_t>(small) : 0;
      for (std::size_t i = 0; i < wide; ++i) size = size << 8U | static_cast<unsigned>(Byte(2 + i));
      if (!Has(2 + wide + size)) return {};
      const std::string payload = heard_.substr(at_ + 2 + wide, size);
      at_ += 2 + wide + size;
      if ((first & 0x0F) == 9) {  // whether this lives; it may come within a message
        Say(Frame(0x8A, payload));
        first = 0;
        continue;
      }
      message.payload += payload;
      message.kind |= first & 0x0F;  // 0 of the frames behind the first
    }
    return message;
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
  int Byte(std::size_t i) const { return heard_[at_ + i] & 0xFF; }

  /// Whether so many bytes are there behind what was given.
  bool Has(std::size_t size) {
    if (heard_.size() - at_ < size && at_ > 65536) heard_.erase(4, std::exchange(at_, 4) - 4);
    while (heard_.size() - at_ < size && Read()) {
    }
    return heard_.size() - at_ >= size;
  }

  bool Read() {
    char bytes[65536];
    const auto size = ::recv(socket_, bytes, sizeof(bytes), 0);
    closed_ = closed_ || size == 0;
    if (size > 0) heard_.append(bytes, static_cast<std::size_t>(size));
    return size > 0;
  }

  int socket_;
  bool closed_ = false;
  std::string heard_;
  std::size_t at_ = 0;  // in it, behind the messages that were given; 0: none was asked for
};

}  // namespace orliq::test
