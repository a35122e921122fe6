// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orliq::cli {

/// How grave it is what a viewer is told, in the numbers of the protocol.
enum class FoxgloveLevel : std::uint8_t { kInfo = 0, kWarning = 1, kError = 2 };

/// What a viewer is told of its request, or of the server.
struct FoxgloveStatus {
  FoxgloveLevel level = FoxgloveLevel::kInfo;
  std::string message;
};

/// A text of a viewer: what it wants to get from now on, and what no more.
struct FoxgloveRequest {
  struct Subscription {
    std::uint32_t id = 0;  ///< of the viewer's own choice
    std::uint32_t channel = 0;
  };
  std::vector<Subscription> subscribe;
  std::vector<std::uint32_t> unsubscribe;  ///< by those ids
  std::vector<FoxgloveStatus> complaints;  ///< of what cannot be done; few, whatever the text holds
};

/// Never throws: what is no request has nothing but complaints. What is sound beside an unsound entry counts.
FoxgloveRequest ParseFoxgloveRequest(std::string_view text);

}  // namespace orliq::cli
