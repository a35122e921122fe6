// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orliq/web/WebServer.h"

namespace orliq::cli {

constexpr std::size_t kChunk = 128UL * 1024;  // [bytes] written at once, if the socket takes them

/// What the C library keeps for each connection: plain memory, of which only its callbacks know.
struct WebConnection {
  const WebFile* file;   // that is sent; of an HTTP connection
  std::size_t sent;      // [bytes] of the file, or of the message
  std::uint64_t client;  // of a WebSocket, from 1; 0: not joined
  bool ended;            // its last frame was sent: what the library still asks for is not given
  WebMessage* message;   // that is sent; owned
  std::string* taken;    // the beginning of a message that has come; owned
};

}  // namespace orliq::cli
