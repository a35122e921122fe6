// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orliq::cli {

/// What a request says of itself. Empty: nothing.
struct WebRequest {
  std::string_view host;    ///< the header Host
  std::string_view origin;  ///< the header Origin, which a browser adds to a WebSocket
  std::string_view token;   ///< of the query
};

/// Whom a server welcomes: on the loopback interface it is within reach of every page that is open in a
/// browser of this machine. What is not named here is refused.
struct WebRules {
  std::string token = {};  ///< that every request must bring; empty: none
  bool any_name = false;   ///< in Host; else none that a stranger can have resolve to this machine
  bool local_pages = false;  ///< of any server on this machine, and files that a browser shows
  std::vector<std::string> pages = {};  ///< further Origins, as browsers write them; "*": all
};

/// Applies them. Whoever has another name resolve to this machine sends it as Host: so that is a numeric
/// address, localhost, or this machine's own name, and the Origin is that of the server's own page. With
/// any name nothing is the server's own page.
class WebAccess {
 public:
  explicit WebAccess(WebRules rules) : rules_(std::move(rules)) {}

  /// Why a request is refused, as a sentence; empty: it is welcome. Without an Origin no page sent it.
  std::string WhyRefused(const WebRequest& request) const;

 private:
  bool IsWelcome(const std::string& origin, std::string_view host) const;

  WebRules rules_;
};

/// 128 random bits, as text. Throws Failure without a source of randomness.
std::string MakeToken();

/// Whether an IPv4 address is one of the loopback interface.
bool IsLoopback(const std::string& address);

/// Of an address that is listened on, what a client elsewhere asks for: this machine's name where it is all
/// of them.
std::string HostOf(const std::string& address);

}  // namespace orliq::cli
