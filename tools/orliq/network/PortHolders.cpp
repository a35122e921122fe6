// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/PortHolders.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "orliq/network/SocketTable.h"
#include "orliq/terminal/PlainText.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

/// The number of a process by the name of its folder; 0 for any other folder.
int ProcessNumber(const std::string& name) {
  int number = 0;
  const auto [stop, fault] = std::from_chars(name.data(), name.data() + name.size(), number);
  return fault == std::errc() && stop == name.data() + name.size() ? number : 0;
}

/// The program gave itself that name, so it is not to be trusted.
std::string ProgramName(const std::string& process) {
  std::ifstream file("/proc/" + process + "/comm");
  std::string name;
  std::getline(file, name);
  return PlainText(name);
}

/// Notes the process as the holder of those sockets that it has.
void Match(const std::string& process, const std::vector<ForeignSocket>& sockets,
           std::vector<PortHolder>& holders) {
  const auto inodes = SocketsOfProcess(process);
  for (std::size_t i = 0; i < sockets.size(); ++i) {
    const bool has = std::find(inodes.begin(), inodes.end(), sockets[i].inode) != inodes.end();
    if (!has || holders[i].process != 0) continue;
    holders[i].process = ProcessNumber(process);
    holders[i].program = ProgramName(process);
  }
}

}  // namespace

std::string PortHolder::Text() const {
  const std::string on = " on " + (address.empty() ? "every address" : address);
  if (process == 0) {
    return "a program of user " + std::to_string(user) + " that cannot be seen from here," + on;
  }
  return program + " (process " + std::to_string(process) + ")" + on;
}

std::vector<PortHolder> PortHolders(std::uint16_t port) {
  const auto sockets = ForeignSocketsOf(port);
  std::vector<PortHolder> holders;
  holders.reserve(sockets.size());
  for (const ForeignSocket& socket : sockets)
    holders.push_back({socket.address, socket.user, 0, {}});
  if (holders.empty()) return holders;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc", error)) {
    const std::string name = entry.path().filename();
    if (ProcessNumber(name) > 0) Match(name, sockets, holders);
  }
  return holders;
}

}  // namespace orliq::cli
