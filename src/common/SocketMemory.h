// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// The receive buffer of a socket, in which datagrams wait while the program is busy.
namespace orliq::lidar {

/// What every receiving socket asks for [bytes]; the system may grant less.
constexpr int kReceiveBufferBytes = 16 * 1024 * 1024;

/// Datagrams that the system threw away, as the buffer was full or they were damaged.
std::uint64_t DroppedDatagrams(int socket);

/// Size of the buffer that the system granted [bytes]; it counts twice what was asked for.
std::uint64_t GrantedBufferBytes(int socket);

}  // namespace orliq::lidar
