// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebPage.h"

#include <algorithm>

#include "orliq/web/WebRequests.h"

namespace orliq::cli {

int WebPage::Answer(lws* socket, WebConnection& connection, std::string_view path) {
  connection = {};
  if (::lws_hdr_total_length(socket, WSI_TOKEN_GET_URI) == 0) {
    return Refuse(socket, kWrongMethod, "Only GET is answered here.");
  }
  const std::string refusal = WhyRefused(socket, settings_);
  if (!refusal.empty()) return Refuse(socket, kForbidden, refusal);
  for (const WebFile& file : settings_.files) {
    if (file.path == path) connection.file = &file;
  }
  if (connection.file == nullptr) return Refuse(socket, kNotFound, "There is no such page.");
  if (!SendHeaders(socket, *connection.file, scratch_)) return -1;
  ::lws_callback_on_writable(socket);
  return 0;
}

int WebPage::Send(lws* socket, WebConnection& connection) {
  if (connection.file == nullptr) return 0;
  const std::string_view rest = connection.file->bytes.substr(connection.sent, kChunk);
  std::copy(rest.begin(), rest.end(), scratch_.begin() + LWS_PRE);
  connection.sent += rest.size();
  const bool last = connection.sent == connection.file->bytes.size();
  if (::lws_write(socket, scratch_.data() + LWS_PRE, rest.size(),
                  last ? LWS_WRITE_HTTP_FINAL : LWS_WRITE_HTTP) < 0) {
    return -1;
  }
  if (last) return -1;  // one answer for a connection: the page is one file
  ::lws_callback_on_writable(socket);
  return 0;
}

}  // namespace orliq::cli
