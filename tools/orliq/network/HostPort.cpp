// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/HostPort.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <memory>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

[[noreturn]] void Refuse(const std::string& value, const std::string& why) {
  throw Failure(ExitCode::kUsage, value + ": " + why);
}

std::uint16_t ParsePort(const std::string& text, const std::string& value) {
  unsigned port = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, port);
  if (fault != std::errc() || stop != end || port == 0 || port > 65535) {
    Refuse(value, "the port after the colon must be a number from 1 to 65535");
  }
  return static_cast<std::uint16_t>(port);
}

std::string AddressOf(const std::string& host, const std::string& value) {
  addrinfo wanted = {};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_DGRAM;
  // An address with a slip in it is not a name to ask the network for.
  if (host.find_first_not_of("0123456789.") == std::string::npos) wanted.ai_flags = AI_NUMERICHOST;
  addrinfo* list = nullptr;
  const int fault = ::getaddrinfo(host.c_str(), nullptr, &wanted, &list);
  if (fault != 0) {
    Refuse(value, "no IPv4 address for " + host + " (" + ::gai_strerror(fault) +
                      "): check the name or write the address in numbers");
  }
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(list, &::freeaddrinfo);
  const auto* const address = reinterpret_cast<const sockaddr_in*>(list->ai_addr);
  char dotted[INET_ADDRSTRLEN] = {};
  ::inet_ntop(AF_INET, &address->sin_addr, dotted, sizeof dotted);
  return dotted;
}

}  // namespace

HostPort SplitHostPort(const std::string& option, const std::string& text) {
  const std::string value = option + ' ' + text;
  if (std::count(text.begin(), text.end(), ':') > 1) {
    Refuse(value, "IPv6 is not supported: write an IPv4 address or a name, such as 127.0.0.1:2368");
  }
  const auto colon = text.find(':');
  if (colon == std::string::npos || colon == 0) {
    Refuse(value, "write an address, a colon and a port, such as 127.0.0.1:2368");
  }
  return {text, text.substr(0, colon), ParsePort(text.substr(colon + 1), value)};
}

void Resolve(const std::string& option, HostPort& host) {
  host.address = AddressOf(host.address, option + ' ' + host.text);
}

HostPort ParseHostPort(const std::string& option, const std::string& text) {
  HostPort host = SplitHostPort(option, text);
  Resolve(option, host);
  return host;
}

}  // namespace orliq::cli
