// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PacedSender.h"

namespace orliq::sim {

PacedSender::PacedSender(UdpSender& sender, Pacer& pacer, std::size_t burst)
    : sender_(sender), pacer_(pacer), payloads_(burst) {}

void PacedSender::Add(const std::uint8_t* payload, std::size_t size, double time_s) {
  payloads_[waiting_].assign(payload, payload + size);
  due_ = pacer_.Due(time_s);
  if (++waiting_ == payloads_.size()) Finish();
}

void PacedSender::Finish() {
  if (waiting_ == 0) return;
  pacer_.WaitUntil(due_);
  const PaceClock::Time now = pacer_.Clock().Now();
  for (std::size_t i = 0; i < waiting_; ++i) {
    sender_.Send(payloads_[i].data(), payloads_[i].size());
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
