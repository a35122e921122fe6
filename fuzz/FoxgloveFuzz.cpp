// SPDX-License-Identifier: Apache-2.0
// What a viewer of the Foxglove WebSocket protocol may send, line by line: texts, and bytes in a line that begins
// with 0. It gets at most what it has subscribed to and what has room, whatever it says.
#include <algorithm>
#include <memory>
#include <string_view>

#include "fuzz/FoxgloveLaws.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  cli::FoxgloveOutlet outlet({"127.0.0.1", 0, {}, size % 2 == 1});
  outlet.AddTopic({"/tf_static", &cli::kRosTransforms, true});
  outlet.AddTopic({"/points", &cli::kRosPointCloud2});
  const auto cdr = std::make_shared<const std::string>("cdr");
  outlet.Join(1);
  for (int i = 0; i < 2; ++i) outlet.Next(1);  // the greeting, which only Listen writes
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    for (std::size_t i = 0; i < 4; ++i) outlet.Publish(i % 2, {}, cdr);
    const bool bytes = line.substr(0, 1) == std::string_view("\0", 1);
    fuzz::Require(bytes ? outlet.TakeBytes(1, line) : outlet.Take(1, line));
    fuzz::Require(fuzz::Drain(outlet) <= 2);
  }
  outlet.Publish(0, {}, cdr);
  outlet.Publish(1, {}, cdr);
  fuzz::Require(fuzz::Drain(outlet) <= 2);
  fuzz::RequireKeptSums(outlet);
  return 0;
}
