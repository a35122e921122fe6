// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/HostNetwork.h"

#include <arpa/inet.h>
#include <ifaddrs.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <system_error>
#include <vector>

#include "common/SocketMemory.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

constexpr in_addr_t kLoopbackLow = 0x7F000000;   // 127.0.0.0 names the network,
constexpr in_addr_t kLoopbackHigh = 0x7FFFFFFF;  // 127.255.255.255 everyone in it

/// The names of this process's sockets, as the system numbers them.
std::set<std::string> OwnSockets() {
  std::set<std::string> inodes;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd", error)) {
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path(), gone).string();
    constexpr std::size_t kPrefix = sizeof "socket:[" - 1;
    if (target.rfind("socket:[", 0) == 0) {
      inodes.insert(target.substr(kPrefix, target.size() - kPrefix - 1));
    }
  }
  return inodes;
}

/// Whether a row of the system's table is of a socket with that port; its name then is `inode`.
/// The row: number, local address and port in hexadecimal, five columns, user, timeout, inode.
bool HasPort(const std::string& row, std::uint16_t port, std::string& inode) {
  std::istringstream words(row);
  std::string word;
  std::string local;
  words >> word >> local;
  for (int i = 0; i < 7; ++i) words >> word;
  if (!(words >> inode)) return false;
  const std::size_t colon = local.rfind(':');
  return colon != std::string::npos && std::stoul(local.substr(colon + 1), nullptr, 16) == port;
}

struct OwnAddress {
  std::string dotted;
  std::string interface;
};

/// The IPv4 addresses of this machine's interfaces.
std::vector<OwnAddress> OwnAddresses() {
  std::vector<OwnAddress> all;
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return all;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    char dotted[INET_ADDRSTRLEN] = {};
    const auto* const address = reinterpret_cast<const sockaddr_in*>(entry->ifa_addr);
    ::inet_ntop(AF_INET, &address->sin_addr, dotted, sizeof dotted);
    all.push_back({dotted, entry->ifa_name});
  }
  ::freeifaddrs(list);
  return all;
}

}  // namespace

std::string EndpointText(const std::string& address, std::uint16_t port) {
  return (address.empty() ? "0.0.0.0" : address) + ':' + std::to_string(port);
}

std::string LocalAddressText() {
  std::string text;
  for (const OwnAddress& own : OwnAddresses()) {
    text += (text.empty() ? "" : ", ") + own.dotted + " (" + own.interface + ')';
  }
  return text.empty() ? "none" : text;
}

bool IsLocalAddress(const std::string& address) {
  in_addr parsed = {};
  if (::inet_pton(AF_INET, address.c_str(), &parsed) != 1) return false;
  const in_addr_t host = ntohl(parsed.s_addr);
  if (host >> 24U == IN_LOOPBACKNET) return host != kLoopbackLow && host != kLoopbackHigh;
  const auto all = OwnAddresses();
  return std::any_of(all.begin(), all.end(),
                     [&](const OwnAddress& own) { return own.dotted == address; });
}

std::size_t ForeignSockets(std::uint16_t port) {
  const std::set<std::string> own = OwnSockets();
  std::size_t count = 0;
  // A socket of IPv6 takes IPv4 datagrams too.
  for (const char* const table : {"/proc/net/udp", "/proc/net/udp6"}) {
    std::ifstream file(table);
    std::string row;
    std::string inode;
    std::getline(file, row);  // names of the columns
    while (std::getline(file, row)) {
      if (HasPort(row, port, inode) && own.count(inode) == 0) ++count;
    }
  }
  return count;
}

std::string SocketOwnerHint(std::uint16_t port) {
  return "ss -lunp 'sport = :" + std::to_string(port) + "' names it";
}

std::string BufferAdvice(std::uint64_t granted_bytes) {
  const std::uint64_t bytes = granted_bytes / 2;
  return "the system dropped packets from a receive buffer of " + Megabytes(bytes) + ": " +
         (bytes < lidar::kReceiveBufferBytes
              ? "sysctl -w net.core.rmem_max=16777216 allows a larger one, and other"
              : "other") +
         " programs may keep the processors too busy";
}

}  // namespace orliq::cli
