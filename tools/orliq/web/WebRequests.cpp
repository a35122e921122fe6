// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebRequests.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace orliq::cli {
namespace {

constexpr unsigned kHttpOk = 200;

std::string Token(lws* socket) {
  std::array<char, 64> text = {};
  const char* const value =
      ::lws_get_urlarg_by_name(socket, "token=", text.data(), static_cast<int>(text.size()));
  return value == nullptr ? "" : value;
}

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

}  // namespace

std::string Header(lws* socket, lws_token_indexes header) {
  const int length = ::lws_hdr_total_length(socket, header);
  std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
  const int copied = ::lws_hdr_copy(socket, text.data(), static_cast<int>(text.size()), header);
  text.resize(static_cast<std::size_t>(std::max(copied, 0)));
  return text;
}

bool Lists(lws* socket, lws_token_indexes header, std::string_view element) {
  const std::string text = Header(socket, header);
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::size_t comma = std::min(rest.find(','), rest.size());
    if (Trimmed(rest.substr(0, comma)) == element) return true;
    rest.remove_prefix(std::min(comma + 1, rest.size()));
  }
  return false;
}

std::string WhyRefused(lws* socket, const WebSettings& settings) {
  const std::string host = Header(socket, WSI_TOKEN_HOST);
  const std::string origin = Header(socket, WSI_TOKEN_ORIGIN);
  const std::string token = Token(socket);
  return WebAccess(settings.rules).WhyRefused({host, origin, token});
}

int Refuse(lws* socket, int status, const std::string& why) {
  ::lws_return_http_status(socket, static_cast<unsigned>(status), why.c_str());
  return -1;
}

bool SendHeaders(lws* socket, const WebFile& file, std::vector<unsigned char>& scratch) {
  unsigned char* const begin = scratch.data() + LWS_PRE;
  unsigned char* at = begin;
  unsigned char* const end = scratch.data() + scratch.size();
  const auto add = [&](const char* name, std::string_view value) {
    return ::lws_add_http_header_by_name(socket, reinterpret_cast<const unsigned char*>(name),
                                         reinterpret_cast<const unsigned char*>(value.data()),
                                         static_cast<int>(value.size()), &at, end) == 0;
  };
  std::string policy(file.policy.empty() ? "default-src 'none'" : file.policy);
  policy += "; frame-ancestors 'none'";  // which counts in a header only
  return ::lws_add_http_common_headers(socket, kHttpOk, std::string(file.type).c_str(),
                                       file.bytes.size(), &at, end) == 0 &&
         add("content-security-policy:", policy) && add("x-content-type-options:", "nosniff") &&
         add("x-frame-options:", "DENY") && add("referrer-policy:", "no-referrer") &&
         add("cache-control:", "no-store") && add("cross-origin-resource-policy:", "same-origin") &&
         ::lws_finalize_write_http_header(socket, begin, &at, end) == 0;
}

}  // namespace orliq::cli
