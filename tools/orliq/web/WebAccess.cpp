// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/WebAccess.h"

#include <arpa/inet.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

/// "[::1]:80" gives "[::1]", "localhost:80" gives "localhost".
std::string NameOf(std::string_view host) {
  const std::size_t end = host.find(']');
  const std::size_t colon = host.find(':', end == std::string_view::npos ? 0 : end);
  std::string name(host.substr(0, colon));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return name;
}

bool IsNumeric(const std::string& name) {
  in6_addr address = {};
  if (::inet_pton(AF_INET, name.c_str(), &address) == 1) return true;
  const bool bracketed = name.size() > 2 && name.front() == '[' && name.back() == ']';
  return bracketed && ::inet_pton(AF_INET6, name.substr(1, name.size() - 2).c_str(), &address) == 1;
}

/// "robot", and "robot.local" as machines of a robot find each other.
bool IsOfThisMachine(const std::string& name) {
  std::array<char, 256> own = {};
  if (::gethostname(own.data(), own.size() - 1) != 0 || own.front() == 0) return false;
  const std::string machine = NameOf(own.data());
  return name == machine || name == machine + ".local";
}

/// Of a server of this machine, or a file. A page cannot choose its Origin, the browser tells it.
bool IsLocalPage(std::string_view origin) {
  if (origin == "file://") return true;
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (origin.substr(0, scheme.size()) != scheme) continue;
    const std::string name = NameOf(origin.substr(scheme.size()));
    return name == "localhost" || name == "[::1]" || IsLoopback(name);
  }
  return false;
}

/// Takes as long for a wrong first letter as for a wrong last one.
bool IsSame(std::string_view given, std::string_view wanted) {
  if (given.size() != wanted.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    difference |= static_cast<unsigned>(given[i] ^ wanted[i]) & 0xFFU;
  }
  return difference == 0;
}

}  // namespace

bool WebAccess::IsWelcome(const std::string& origin, std::string_view host) const {
  if (origin.empty()) return true;
  if (!rules_.any_name && origin == "http://" + std::string(host)) return true;
  if (rules_.local_pages && IsLocalPage(origin)) return true;
  return std::any_of(rules_.pages.begin(), rules_.pages.end(),
                     [&](const std::string& page) { return page == "*" || page == origin; });
}

std::string WebAccess::WhyRefused(const WebRequest& request) const {
  const std::string name = NameOf(request.host);
  if (!rules_.any_name && !IsNumeric(name) && name != "localhost" && !IsOfThisMachine(name)) {
    return "Nothing is served under that name: use the address that orliq printed.";
  }
  if (!IsWelcome(std::string(request.origin), request.host)) {
    return "Pages of another origin get nothing here.";
  }
  if (!IsSame(request.token, rules_.token) && !rules_.token.empty()) {
    return "The address lacks the token: open the one that orliq printed, with ?token=... in it.";
  }
  return {};
}

std::string MakeToken() {
  std::array<std::uint8_t, 16> bytes = {};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw Failure(ExitCode::kInternalFault, "the system gives no random numbers for a token");
  }
  std::string token;
  for (const std::uint8_t byte : bytes) {
    token += "0123456789abcdef"[byte >> 4U];
    token += "0123456789abcdef"[byte & 0xFU];
  }
  return token;
}

bool IsLoopback(const std::string& address) {
  in_addr number = {};
  return ::inet_pton(AF_INET, address.c_str(), &number) == 1 && ntohl(number.s_addr) >> 24U == 127;
}

std::string HostOf(const std::string& address) {
  std::array<char, 256> name = {};
  const bool all = address == "0.0.0.0";
  if (!all || ::gethostname(name.data(), name.size() - 1) != 0) return address;
  return name.data();
}

}  // namespace orliq::cli
