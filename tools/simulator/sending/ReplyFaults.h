// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sending/PerFault.h"
#include "simulator/sensors/Random.h"

namespace orliq::sim {

/// What can happen to the reply to a request for calibration. At most one fault hits a reply, the
/// first in this order.
enum class ReplyFault : std::size_t {
  kLost,
  kSilence,      ///< neither this request nor any that follows for a while is answered
  kShort,        ///< cut to 0 to 38 bytes, fewer than a reply without payload has
  kWrongMarker,  ///< one of the first four bytes differs
  kWrongTotal,   ///< tells of another size of the whole image
  kDelayed,      ///< leaves later; other requests are answered meanwhile
  kDuplicated,   ///< sent twice in a row
  kSwapped       ///< leaves right behind the next reply that leaves; without one, not at all
};
constexpr std::size_t kReplyFaults = 8;

template <typename Number>
using PerReplyFault = PerFault<ReplyFault, kReplyFaults, Number>;
using ReplyFaultRates = PerReplyFault<double>;          ///< share of requests, 0 to 1
using ReplyFaultCounts = PerReplyFault<std::uint64_t>;  ///< replies

/// Decides what happens to one reply after the other. The seed alone decides which are hit; asking
/// for one fault leaves the choice of the others as it was. Not thread safe.
class ReplyFaults {
 public:
  struct Fate {
    std::optional<ReplyFault> fault;
    double place = 0.0;   ///< even over [0, 1): where it is damaged
    double change = 0.0;  ///< likewise: how
  };

  ReplyFaults(const ReplyFaultRates& rates, std::uint64_t seed);

  /// Of the reply to the next request.
  Fate Next();

 private:
  ReplyFaultRates rates_;
  std::vector<Random> chance_;  // streams, one for each fault
  Random damage_;
};

}  // namespace orliq::sim
