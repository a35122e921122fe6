// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/SocketTable.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kIpv4Digits = 8;

/// "0100007F" is 127.0.0.1: the four octets as this machine keeps them in a word.
std::string Dotted(const std::string& hexadecimal) {
  if (hexadecimal.find_first_not_of('0') == std::string::npos) return {};
  if (hexadecimal.size() != kIpv4Digits) return "IPv6";
  std::uint32_t word = 0;
  std::from_chars(hexadecimal.data(), hexadecimal.data() + kIpv4Digits, word, 16);
  std::string text;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    text += (text.empty() ? "" : ".") + std::to_string(word >> shift & 0xFFU);
  }
  return text;
}

/// Whether a row of the table is of a socket with that port, which is then read.
/// The row: number, local address and port in hexadecimal, five columns, user, timeout, inode.
bool ReadRow(const std::string& row, std::uint16_t port, ForeignSocket& socket) {
  std::istringstream words(row);
  std::string word;
  std::string local;
  words >> word >> local;
  for (int i = 0; i < 5; ++i) words >> word;
  if (!(words >> socket.user >> word >> socket.inode)) return false;
  const std::size_t colon = local.rfind(':');
  if (colon == std::string::npos) return false;
  unsigned number = 0;
  std::from_chars(local.data() + colon + 1, local.data() + local.size(), number, 16);
  socket.address = Dotted(local.substr(0, colon));
  return number == port;
}

}  // namespace

std::vector<std::string> SocketsOfProcess(const std::string& process) {
  std::vector<std::string> inodes;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/" + process + "/fd", error)) {
    std::error_code gone;
    const std::string target = fs::read_symlink(entry.path(), gone).string();
    constexpr std::size_t kPrefix = sizeof "socket:[" - 1;
    if (target.rfind("socket:[", 0) != 0) continue;
    inodes.push_back(target.substr(kPrefix, target.size() - kPrefix - 1));
  }
  return inodes;
}

std::vector<ForeignSocket> ForeignSocketsOf(std::uint16_t port) {
  const std::vector<std::string> own = SocketsOfProcess("self");
  std::vector<ForeignSocket> sockets;
  for (const char* const table : {"/proc/net/udp", "/proc/net/udp6"}) {
    std::ifstream file(table);
    std::string row;
    std::getline(file, row);  // names of the columns
    while (std::getline(file, row)) {
      ForeignSocket socket;
      if (!ReadRow(row, port, socket)) continue;
      if (std::find(own.begin(), own.end(), socket.inode) == own.end()) sockets.push_back(socket);
    }
  }
  return sockets;
}

std::size_t ForeignSockets(std::uint16_t port) {
  return ForeignSocketsOf(port).size();
}

}  // namespace orliq::cli
