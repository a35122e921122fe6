// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libwebsockets.h>

#include <string_view>
#include <vector>

#include "orliq/web/WebConnection.h"

namespace orliq::cli {

/// Answers requests for the files of a server. Belongs to the server's thread; what its functions return
/// is for the C library: negative ends the connection.
class WebPage {
 public:
  /// `settings` outlive this.
  explicit WebPage(const WebSettings& settings) : settings_(settings), scratch_(LWS_PRE + kChunk) {}

  /// Sends the headers of the answer, or all of a refusal.
  int Answer(lws* socket, WebConnection& connection, std::string_view path);

  /// The next part of the file, since the socket takes one.
  int Send(lws* socket, WebConnection& connection);

 private:
  const WebSettings& settings_;
  std::vector<unsigned char> scratch_;  // what the library is given to write has room ahead of it
};

}  // namespace orliq::cli
