// SPDX-License-Identifier: Apache-2.0
#include "orliq/web/TcpPort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

/// 0, or what is in the way.
int TryToBind(const std::string& address, std::uint16_t port) {
  sockaddr_in place = {};
  place.sin_family = AF_INET;
  place.sin_port = htons(port);
  if (::inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1) return EINVAL;
  const int trial = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (trial < 0) return errno;
  const int yes = 1;  // connections that have ended need not be waited for
  ::setsockopt(trial, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
  const bool bound = ::bind(trial, reinterpret_cast<const sockaddr*>(&place), sizeof(place)) == 0;
  const int fault = bound ? 0 : errno;
  ::close(trial);
  return fault;
}

}  // namespace

void RequireTcpPort(const std::string& address, std::uint16_t port) {
  const int fault = TryToBind(address, port);
  if (fault == 0) return;
  throw Failure(ExitCode::kFileFault, "cannot listen on TCP port " + std::to_string(port) + " of " +
                                          address + ": " + std::generic_category().message(fault));
}

}  // namespace orliq::cli
