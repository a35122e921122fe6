// SPDX-License-Identifier: Apache-2.0
#include "orliq/CaptureSurvey.h"

#include <pcap/pcap.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <tuple>

#include "orliq/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxFlows = 1000;         // a port scan must not fill the memory
constexpr std::uint64_t kProgressEvery = 4096;  // [records]

using Capture = std::unique_ptr<pcap_t, decltype(&pcap_close)>;
using FlowKey = std::tuple<std::uint16_t, std::uint32_t, std::uint32_t>;

[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& why) {
  throw Failure(ExitCode::kFileFault, "cannot read " + path + ": " + why);
}

/// Opened through a stream, as a name such as "-" would mean standard input to libpcap.
Capture Open(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rbe");
  if (file == nullptr) ThrowUnreadable(path, std::generic_category().message(errno));
  char error[PCAP_ERRBUF_SIZE] = {};
  Capture capture(pcap_fopen_offline(file, error), &pcap_close);
  if (!capture) {
    std::fclose(file);
    ThrowUnreadable(path, "it is no capture file (" + std::string(error) + ")");
  }
  return capture;
}

std::string LinkType(int link_type) {
  const char* const name = pcap_datalink_val_to_description(link_type);
  return name != nullptr ? name : "link type " + std::to_string(link_type);
}

class Surveyor {
 public:
  Surveyor(CaptureSurvey& survey, std::uint16_t port, bool ethernet)
      : survey_(survey), port_(port), ethernet_(ethernet) {}

  void Add(const pcap_pkthdr& header, const std::uint8_t* bytes) {
    NoteTime(header);
    ++survey_.records;
    std::variant<Skip, Datagram> record = Skip::kOtherLinkType;
    if (ethernet_) record = ReadUdpRecord(bytes, header.caplen, header.len, port_);
    if (const auto* const reason = std::get_if<Skip>(&record)) {
      ++survey_.skipped[static_cast<std::size_t>(*reason)];
    } else {
      Add(std::get<Datagram>(record));
    }
  }

 private:
  void NoteTime(const pcap_pkthdr& header) {
    const double time =
        static_cast<double>(header.ts.tv_sec) + static_cast<double>(header.ts.tv_usec) * 1e-6;
    const bool first = survey_.records == 0;
    survey_.first_time = first ? time : std::min(survey_.first_time, time);
    survey_.last_time = first ? time : std::max(survey_.last_time, time);
  }

  void Add(const Datagram& datagram) {
    const FlowKey key = {datagram.port, datagram.source, datagram.destination};
    auto known = places_.find(key);
    if (known == places_.end()) {
      if (survey_.flows.size() >= kMaxFlows) {
        ++survey_.in_further_flows;
        return;
      }
      known = places_.emplace(key, survey_.flows.size()).first;
      survey_.flows.push_back(NewFlow(datagram));
    }
    Flow& flow = survey_.flows[known->second];
    ++flow.packets;
    ++flow.sizes[datagram.payload_bytes];
    for (std::size_t i = 0; i < kModels; ++i) {
      if (Fits(Models()[i], datagram.payload, datagram.payload_bytes)) ++flow.fits[i];
    }
  }

  static Flow NewFlow(const Datagram& datagram) {
    Flow flow;
    flow.source = datagram.source;
    flow.destination = datagram.destination;
    flow.source_port = datagram.source_port;
    flow.port = datagram.port;
    flow.first_bytes.assign(datagram.payload,
                            datagram.payload + std::min<std::size_t>(8, datagram.payload_bytes));
    return flow;
  }

  CaptureSurvey& survey_;
  std::uint16_t port_;
  bool ethernet_;
  std::map<FlowKey, std::size_t> places_;  // index into survey_.flows
};

}  // namespace

std::uint64_t ReadableFileBytes(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) ThrowUnreadable(path, "there is no such file");
  if (!std::filesystem::is_regular_file(status)) ThrowUnreadable(path, "it is not a regular file");
  return std::filesystem::file_size(path, error);
}

CaptureSurvey SurveyCapture(const std::string& path, std::uint16_t port,
                            const SurveyProgress& progress) {
  CaptureSurvey survey;
  survey.file_bytes = ReadableFileBytes(path);
  const Capture capture = Open(path);
  const int link_type = pcap_datalink(capture.get());
  survey.link_type = LinkType(link_type);
  Surveyor surveyor(survey, port, link_type == DLT_EN10MB);
  pcap_pkthdr* header = nullptr;
  const std::uint8_t* bytes = nullptr;
  int result = 0;
  while ((result = pcap_next_ex(capture.get(), &header, &bytes)) == 1) {
    surveyor.Add(*header, bytes);
    if (progress && survey.records % kProgressEvery == 0) {
      progress(static_cast<std::uint64_t>(std::ftell(pcap_file(capture.get()))));
    }
  }
  if (result != PCAP_ERROR_BREAK) survey.fault = pcap_geterr(capture.get());
  std::sort(survey.flows.begin(), survey.flows.end(), [](const Flow& a, const Flow& b) {
    return std::tie(a.port, b.packets, a.source) < std::tie(b.port, a.packets, b.source);
  });
  return survey;
}

}  // namespace orliq::cli
