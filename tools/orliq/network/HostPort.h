// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace orliq::cli {

/// Where datagrams go.
struct HostPort {
  std::string text;     ///< as the user wrote it
  std::string address;  ///< IPv4, dotted; the name of the host until it is resolved
  std::uint16_t port = 0;
};

/// Reads "HOST:PORT" and asks nobody for the address: Resolve does. Throws Failure with a sentence that
/// begins with the option's name for anything else.
HostPort SplitHostPort(const std::string& option, const std::string& text);

/// Asks the network if the host is a name. Throws likewise when there is no address of it.
void Resolve(const std::string& option, HostPort& host);

/// Does both: reads "HOST:PORT", where HOST is an IPv4 address or a name that has one. Throws Failure with a
/// sentence that begins with the option's name for anything else.
HostPort ParseHostPort(const std::string& option, const std::string& text);

}  // namespace orliq::cli
