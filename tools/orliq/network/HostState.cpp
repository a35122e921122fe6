// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/HostState.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <linux/if_link.h>
#include <net/if.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "orliq/capture/UdpRecord.h"

namespace orliq::cli {
namespace {

/// A socket that sends nothing, to ask the system by.
class Question {
 public:
  Question() : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
  ~Question() {
    if (socket_ >= 0) ::close(socket_);
  }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  operator int() const { return socket_; }

 private:
  int socket_;
};

std::uint32_t Octets(const sockaddr* address) {
  sockaddr_in ipv4 = {};
  if (address != nullptr) std::memcpy(&ipv4, address, sizeof ipv4);
  return ntohl(ipv4.sin_addr.s_addr);
}

unsigned Mtu(const Question& socket, const std::string& name) {
  ifreq request = {};
  name.copy(request.ifr_name, sizeof request.ifr_name - 1);
  return ::ioctl(socket, SIOCGIFMTU, &request) == 0 ? static_cast<unsigned>(request.ifr_mtu) : 0;
}

/// Takes what one entry of the system's list tells of an interface: every one has an entry with its
/// counters, and one more for each address.
void Note(const ifaddrs& entry, Interface& interface) {
  interface.name = entry.ifa_name;
  interface.up = (entry.ifa_flags & IFF_UP) != 0;
  interface.carrier = (entry.ifa_flags & IFF_RUNNING) != 0;
  interface.loopback = (entry.ifa_flags & IFF_LOOPBACK) != 0;
  if (entry.ifa_addr == nullptr) return;
  if (entry.ifa_addr->sa_family == AF_INET) {
    interface.addresses.push_back({Octets(entry.ifa_addr), Octets(entry.ifa_netmask)});
  } else if (entry.ifa_addr->sa_family == AF_PACKET && entry.ifa_data != nullptr) {
    rtnl_link_stats counters = {};
    std::memcpy(&counters, entry.ifa_data, sizeof counters);
    interface.packets = counters.rx_packets;
    interface.errors = counters.rx_errors + counters.rx_missed_errors;
  }
}

/// The counters of the system's table under the heading `group`: a line of names, one of numbers.
std::map<std::string, std::uint64_t> ReadGroup(const char* table, const std::string& group) {
  std::ifstream file(table);
  std::map<std::string, std::uint64_t> counters;
  std::string names;
  std::string numbers;
  while (std::getline(file, names) && std::getline(file, numbers)) {
    if (names.rfind(group + ':', 0) != 0) continue;
    std::istringstream name_words(names);
    std::istringstream number_words(numbers);
    std::string name;
    std::string number;
    while (name_words >> name && number_words >> number) {
      counters[name] = std::strtoull(number.c_str(), nullptr, 10);
    }
  }
  return counters;
}

}  // namespace

std::vector<Interface> ReadInterfaces() {
  ifaddrs* list = nullptr;
  if (::getifaddrs(&list) != 0) return {};
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
  const Question socket;
  std::vector<Interface> all;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    const std::string name = entry->ifa_name;
    auto known = std::find_if(all.begin(), all.end(),
                              [&](const Interface& one) { return one.name == name; });
    if (known == all.end()) {
      known = all.insert(all.end(), Interface());
      known->index = ::if_nametoindex(entry->ifa_name);
      known->mtu = Mtu(socket, name);
    }
    Note(*entry, *known);
  }
  return all;
}

bool Interface::Has(std::uint32_t address) const {
  return std::any_of(addresses.begin(), addresses.end(), [&](const InterfaceAddress& own) {
    if (own.address == address) return true;
    const std::uint32_t host = address & ~own.mask;  // at its ends: the network, everyone in it
    return loopback && (address & own.mask) == (own.address & own.mask) && host != 0 &&
           host != ~own.mask;
  });
}

std::string LocalAddressText(const std::vector<Interface>& interfaces) {
  std::string text;
  for (const Interface& interface : interfaces) {
    for (const InterfaceAddress& own : interface.addresses) {
      text += (text.empty() ? "" : ", ") + DottedAddress(own.address) + " (" + interface.name + ')';
    }
  }
  return text.empty() ? "none" : text;
}

std::vector<Interface> Since(const std::vector<Interface>& before, std::vector<Interface> after) {
  for (Interface& interface : after) {
    for (const Interface& old : before) {
      if (old.index != interface.index) continue;
      interface.packets -= old.packets;  // also rightly when the counter began again at 0
      interface.errors -= old.errors;
    }
  }
  return after;
}

StackCounters StackCounters::Since(const StackCounters& before) const {
  return {no_port - before.no_port, bad_checksum - before.bad_checksum,
          reverse_path - before.reverse_path, pieces - before.pieces,
          not_reassembled - before.not_reassembled};
}

StackCounters ReadStackCounters() {
  auto udp = ReadGroup("/proc/net/snmp", "Udp");
  auto ip = ReadGroup("/proc/net/snmp", "Ip");
  auto more = ReadGroup("/proc/net/netstat", "TcpExt");
  return {udp["NoPorts"], udp["InCsumErrors"], more["IPReversePathFilter"], ip["ReasmReqds"],
          ip["ReasmFails"]};
}

std::uint64_t LargestReceiveBuffer() {
  std::uint64_t bytes = 0;
  std::ifstream("/proc/sys/net/core/rmem_max") >> bytes;
  return bytes;
}

/// By a socket that is connected, which for UDP is a look at the routes only.
std::optional<std::uint32_t> AddressTowards(const std::string& address) {
  constexpr std::uint16_t kAnyPort = 9;
  sockaddr_in to = {};
  to.sin_family = AF_INET;
  to.sin_port = htons(kAnyPort);
  const Question socket;
  sockaddr own = {};
  socklen_t size = sizeof own;
  if (::inet_pton(AF_INET, address.c_str(), &to.sin_addr) != 1 ||
      ::connect(socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) != 0 ||
      ::getsockname(socket, &own, &size) != 0) {
    return std::nullopt;
  }
  return Octets(&own);
}

}  // namespace orliq::cli
