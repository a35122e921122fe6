// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace orliq::cli {

/// A domain in which tests of other programs hardly meet this one's.
inline std::uint32_t TestDomain() {
  return 10 + static_cast<std::uint32_t>(::getpid()) % 80;
}

/// Reads topics with another implementation of DDS, on 127.0.0.1 alone and without multicast.
class FastReader {
 public:
  /// `type` as on the wire. A reliable reader is for reliable writers only.
  struct Wanted {
    std::string topic;
    std::string type;
    bool reliable = false;
    bool latched = false;
  };
  FastReader(std::uint32_t domain, const Wanted& wanted);
  ~FastReader();

  /// The payload of the next message behind its four bytes of encapsulation, and those; empty: none came.
  std::string Next(std::chrono::seconds limit);

 private:
  class Participant;
  std::unique_ptr<Participant> participant_;
};

}  // namespace orliq::cli
