// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orliq::cli {

/// What a request says of itself. Empty: nothing.
struct WebRequest {
  std::string_view host;    ///< the header Host
  std::string_view origin;  ///< the header Origin, which a browser adds to a WebSocket
  std::string_view token;   ///< of the query
};

/// Who may see the page: a server on the loopback interface is within reach of every page that is open in
/// a browser of this machine, so names and origins that are not its own are refused.
class WebAccess {
 public:
  /// `token` is wanted of every request; empty: of none.
  explicit WebAccess(std::string token) : token_(std::move(token)) {}

  /// Why a request is refused, as a sentence; empty: it is welcome. Whoever has another name resolve to
  /// this machine sends it as Host: so that is a numeric address, localhost, or this machine's own name.
  /// An Origin is the page's own.
  std::string WhyRefused(const WebRequest& request) const;

 private:
  std::string token_;
};

/// 128 random bits, as text. Throws Failure without a source of randomness.
std::string MakeToken();

/// Whether an IPv4 address is one of the loopback interface.
bool IsLoopback(const std::string& address);

}  // namespace orliq::cli
