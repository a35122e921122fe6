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

}  // namespace

InputPcap::InputPcap(const InputParam& param)
    : param_(param), filter_expression_(MakeFilterExpression(param.port)) {}

InputPcap::~InputPcap() {
  pcap_freecode(&filter_program_);
}

bool InputPcap::Init() {
  const bool opened = file_.Open(param_.pcap_file);
  diagnostics::CaptureOpened(param_.pcap_file);
  if (!opened) return false;
  pcap_freecode(&filter_program_);
  const bool compiled = pcap_compile(file_.Handle(), &filter_program_, filter_expression_.c_str(),
                                     1, PCAP_NETMASK_UNKNOWN) == 0;
  if (!compiled) filter_program_ = {};
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
  if (!file_.Next()) return -1;
  const pcap_pkthdr& record = file_.Record();
  const bool matches = filter_program_.bf_insns != nullptr &&
                       pcap_offline_filter(&filter_program_, &record, file_.Bytes()) != 0;
  const std::uint64_t headers = header_length_ + header_extra_;
  const std::uint64_t present = std::min(record.len, record.caplen);
  if (!matches || !buffer || present < headers || !IsSource(Sender(file_.Bytes()))) return 0;

  const std::uint64_t room = buffer->capacity - std::min(buffer->data_offset, buffer->capacity);
  const std::uint64_t length = std::min(present - headers, room);
  std::memcpy(buffer->data + buffer->data_offset, file_.Bytes() + header_length_, length);
  buffer->data_offset = 0;
  buffer->length = length;
  return static_cast<int>(length);
}

}  // namespace orliq::lidar
