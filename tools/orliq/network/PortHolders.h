// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orliq::cli {

/// Another program's socket on a port.
struct PortHolder {
  std::string address;     ///< the socket is bound to; empty: every address
  std::uint32_t user = 0;  ///< whose it is
  int process = 0;         ///< 0: this user may not see it
  std::string program;     ///< its name

  /// "orliq (process 4711)", "a program of user 1000 that cannot be seen from here".
  std::string Text() const;
};

/// Who holds that port beside this process.
std::vector<PortHolder> PortHolders(std::uint16_t port);

}  // namespace orliq::cli
