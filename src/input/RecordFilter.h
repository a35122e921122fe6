// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pcap/pcap.h>

#include <string>

namespace orliq::lidar {

/// Chooses records of a capture by an expression of the capture library.
class RecordFilter {
 public:
  RecordFilter() = default;
  ~RecordFilter() { pcap_freecode(&program_); }
  RecordFilter(const RecordFilter&) = delete;
  RecordFilter& operator=(const RecordFilter&) = delete;

  /// An expression that the kind of capture does not know matches nothing.
  void Compile(pcap_t* capture, const std::string& expression) {
    pcap_freecode(&program_);
    if (pcap_compile(capture, &program_, expression.c_str(), 1, PCAP_NETMASK_UNKNOWN) != 0) {
      program_ = {};
    }
  }

  bool Matches(const pcap_pkthdr& record, const std::uint8_t* bytes) const {
    return program_.bf_insns != nullptr && pcap_offline_filter(&program_, &record, bytes) != 0;
  }

 private:
  bpf_program program_ = {};  // empty when it did not compile
};

}  // namespace orliq::lidar
