// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "orliq/terminal/CommandLine.h"
#include "orliq/terminal/Remarks.h"

namespace orliq::cli {

/// Where and how long a verb listens to a live sensor.
struct ListenOptions {
  std::uint16_t port = 0;
  std::string address;             ///< empty: every address
  std::optional<double> duration;  ///< [s] from the start
  double wait = 10.0;              ///< [s] for the first packet; 0: for ever
  bool quiet = false;
};

/// --address
void AddListenAddress(CommandLine& command, std::string& address);

/// --port, which is required, and --address.
void AddPortOptions(CommandLine& command, std::uint16_t& port, std::string& address);
void AddSourceOption(CommandLine& command, std::string& source);
void AddSocketBufferOption(CommandLine& command, std::uint32_t& bytes);

/// --duration and --wait
void AddListenTimes(CommandLine& command, ListenOptions& options);
void AddListenOptions(CommandLine& command, ListenOptions& options);

/// The driver tells only that a port cannot be had. Bound as the driver does it, a socket tells why:
/// throws Failure then, and remarks on another socket that has the port too.
void RequirePort(const std::string& address, std::uint16_t port, const Remarks& remarks);

/// Runs from its making on.
class ListenTime {
 public:
  explicit ListenTime(const ListenOptions& options) : options_(options) {}

  double Seconds() const;

  /// Whether the duration is over, or nothing `has_arrived` for as long as one waits.
  bool Over(bool has_arrived) const;

 private:
  using Clock = std::chrono::steady_clock;

  const ListenOptions& options_;
  Clock::time_point start_ = Clock::now();
};

}  // namespace orliq::cli
