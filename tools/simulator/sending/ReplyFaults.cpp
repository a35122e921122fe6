// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/ReplyFaults.h"

namespace orliq::sim {

ReplyFaults::ReplyFaults(const ReplyFaultRates& rates, std::uint64_t seed)
    : rates_(rates), damage_(seed, kReplyFaultStreams + kReplyFaults) {
  for (std::size_t i = 0; i < kReplyFaults; ++i) {
    chance_.emplace_back(seed, kReplyFaultStreams + i);
  }
}

ReplyFaults::Fate ReplyFaults::Next() {
  Fate fate;
  for (std::size_t i = 0; i < kReplyFaults; ++i) {
    // Every stream is asked each time, whether or not a fault has hit already.
    const bool hit = chance_[i].Chance(rates_.values[i]);
    if (hit && !fate.fault) fate.fault = static_cast<ReplyFault>(i);
  }
  fate.place = damage_.Uniform(0.0, 1.0);
  fate.change = damage_.Uniform(0.0, 1.0);
  return fate;
}

}  // namespace orliq::sim
