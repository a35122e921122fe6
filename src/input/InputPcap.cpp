// SPDX-License-Identifier: Apache-2.0
#include "input/InputPcap.h"

#include <algorithm>
#include <cstring>

#include "common/Diagnostics.h"

namespace orliq::lidar {
namespace {

std::string MakeFilterExpression(std::uint16_t port) {
  return port == 0 ? "(udp)" : "(udp dst port " + std::to_string(port) + ")";
}

/// The IPv4 address of the sender, from a record that holds its headers.
std::uint32_t Sender(const std::uint8_t* record) {
  std::uint32_t address = 0;
  std::memcpy(&address, record + 26, sizeof address);
  return address;
}

/// Whether it is a piece of an IPv4 datagram, and not the first one, which alone has the ports.
bool IsLaterFragment(const std::uint8_t* record, std::uint64_t present) {
  if (present < 22 || record[12] != 0x08 || record[13] != 0x00) return false;
  return ((record[20] & 0x1FU) | record[21]) != 0;
}

}  // namespace

InputPcap::InputPcap(const InputParam& param)
    : param_(param), filter_expression_(MakeFilterExpression(param.port)) {}

bool InputPcap::Init() {
  const bool opened = file_.Open(param_.pcap_file);
  diagnostics::CaptureOpened(param_.pcap_file);
  if (!opened) return false;
  filter_.Compile(file_.Handle(), filter_expression_);
  udp_filter_.Compile(file_.Handle(), MakeFilterExpression(0));
  return true;
}

int InputPcap::RecvPacket(std::shared_ptr<Buffer>& buffer, const int& /*size*/, long* position,
                          const bool& remember) {
  if (position != nullptr) {
    if (remember) {
      *position = file_.Position();
    } else {
      file_.Seek(*position);
    }
  }
  if (!file_.Next()) {
    if (file_.Damaged()) counters_->damaged.Add();
    return -1;
  }
  counters_->records.Add();
  Counter& count = CountOfRecord();
  count.Add();
  const bool wanted = &count == &counters_->packets || &count == &counters_->empty;
  return wanted && buffer ? Deliver(*buffer) : 0;
}

/// The payload of the record that was read last, as far as it exists and fits.
int InputPcap::Deliver(Buffer& buffer) const {
  const std::uint64_t payload = PresentBytes() - (header_length_ + header_extra_);
  const std::uint64_t room = buffer.capacity - std::min(buffer.data_offset, buffer.capacity);
  const std::uint64_t length = std::min(payload, room);
  if (payload > 0 && file_.Record().caplen < file_.Record().len) counters_->cut.Add();
  if (payload > room) counters_->too_long.Add();
  std::memcpy(buffer.data + buffer.data_offset, file_.Bytes() + header_length_, length);
  buffer.data_offset = 0;
  buffer.length = length;
  return static_cast<int>(length);
}

/// Where the record belongs that was read last.
Counter& InputPcap::CountOfRecord() const {
  const pcap_pkthdr& record = file_.Record();
  const std::uint64_t headers = header_length_ + header_extra_;
  const std::uint64_t present = PresentBytes();
  if (!filter_.Matches(record, file_.Bytes())) {
    if (!udp_filter_.Matches(record, file_.Bytes())) return counters_->not_udp;
    return IsLaterFragment(file_.Bytes(), present) ? counters_->fragments : counters_->other_port;
  }
  if (present < headers) return counters_->too_short;
  if (!IsSource(Sender(file_.Bytes()))) return counters_->other_source;
  return present == headers ? counters_->empty : counters_->packets;
}

/// What the file holds of it, never more than it claims to have had.
std::uint64_t InputPcap::PresentBytes() const {
  return std::min(file_.Record().len, file_.Record().caplen);
}

}  // namespace orliq::lidar
