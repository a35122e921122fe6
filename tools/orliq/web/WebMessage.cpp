// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "orliq/web/WebServer.h"

namespace orliq::cli {

void WebMessage::Copy(std::size_t offset, std::size_t size, unsigned char* to) const {
  const std::size_t in_head = std::min(offset, head.size());
  const std::string_view from_head = std::string_view(head).substr(in_head, size);
  const std::string_view all_of_body = body ? std::string_view(*body) : std::string_view();
  const std::string_view from_body = all_of_body.substr(offset - in_head, size - from_head.size());
  std::copy(from_body.begin(), from_body.end(), std::copy(from_head.begin(), from_head.end(), to));
}

}  // namespace orliq::cli
