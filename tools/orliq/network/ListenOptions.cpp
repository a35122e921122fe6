// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/ListenOptions.h"

#include "orliq/network/HostNetwork.h"
#include "orliq/network/SocketTable.h"
#include "orliq/network/UdpReceiver.h"

namespace orliq::cli {
namespace {

constexpr double kLongestTime = 1e6;  // [s] eleven days

}  // namespace

void AddListenAddress(CommandLine& command, std::string& address) {
  command
      .Add("--address", address,
           "IPv4 address of this machine to listen on; all of them without it")
      .Address();
}

void AddPortOptions(CommandLine& command, std::uint16_t& port, std::string& address) {
  command.Add("--port", port, "UDP port that the sensor sends to").Required().Within(1, 65535);
  AddListenAddress(command, address);
}

void AddSourceOption(CommandLine& command, std::string& source) {
  command
      .Add("--source", source, "IPv4 address of the sensor: packets of all others are passed over")
      .HostAddress();
}

void AddSocketBufferOption(CommandLine& command, std::uint32_t& bytes) {
  command
      .Add("--socket-buffer", bytes,
           "[bytes] receive buffer to ask of the system for each sensor; 16 MiB without it")
      .Within(1, 1 << 30);
}

void AddListenTimes(CommandLine& command, ListenOptions& options) {
  command.Add("--duration", options.duration, "[s] stop after that time").Within(0.1, kLongestTime);
  command.Add("--wait", options.wait, "[s] give up when nothing has come; 0 waits for ever")
      .Within(0.0, kLongestTime)
      .ShowDefault();
}

void AddListenOptions(CommandLine& command, ListenOptions& options) {
  AddPortOptions(command, options.port, options.address);
  AddListenTimes(command, options);
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no status line, no remarks");
}

void RequirePort(const std::string& address, std::uint16_t port, const Remarks& remarks) {
  const UdpReceiver trial(address, port, UdpReceiver::Sharing::kShared);
  if (ForeignSockets(port) == 0) return;
  remarks.Note("another socket has UDP port " + std::to_string(port) +
               " bound too: a packet goes to one of the two only (" + SocketOwnerHint(port) + ')');
}

double ListenTime::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

bool ListenTime::Over(bool has_arrived) const {
  const double seconds = Seconds();
  if (options_.duration && seconds >= *options_.duration) return true;
  return !has_arrived && options_.wait > 0.0 && seconds >= options_.wait;
}

}  // namespace orliq::cli
