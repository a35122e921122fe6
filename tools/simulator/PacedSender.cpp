// SPDX-License-Identifier: Apache-2.0
#include "simulator/PacedSender.h"

namespace orliq::sim {

PacedSender::PacedSender(UdpSender& sender, Pacer& pacer, std::size_t burst)
    : sender_(sender), pacer_(pacer), packets_(burst) {}

void PacedSender::Add(const std::uint8_t* payload, std::size_t size, double time_s) {
  Packet& packet = packets_[waiting_];
  packet.payload.assign(payload, payload + size);
  packet.time_s = time_s;
  if (++waiting_ == packets_.size()) Finish();
}

void PacedSender::Finish() {
  if (waiting_ == 0) return;
  pacer_.WaitUntilDue(packets_[waiting_ - 1].time_s);
  const PaceClock::Time now = pacer_.Clock().Now();
  for (std::size_t i = 0; i < waiting_; ++i) {
    sender_.Send(packets_[i].payload.data(), packets_[i].payload.size());
  }
  waiting_ = 0;
  last_ = now;
  if (started_) return;
  started_ = true;
  first_ = now;
  in_first_burst_ = sender_.Datagrams();
}

double PacedSender::Seconds() const {
  return std::chrono::duration<double>(last_ - first_).count();
}

double PacedSender::Rate() const {
  const auto further = static_cast<double>(sender_.Datagrams() - in_first_burst_);
  return last_ > first_ ? further / Seconds() : 0.0;
}

}  // namespace orliq::sim
