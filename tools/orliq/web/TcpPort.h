// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace orliq::cli {

/// Throws Failure, with the system's reason, when nobody could listen there now; port 0: at any port. The
/// library that serves the page tells no reason, and loses memory over it.
void RequireTcpPort(const std::string& address, std::uint16_t port);

}  // namespace orliq::cli
