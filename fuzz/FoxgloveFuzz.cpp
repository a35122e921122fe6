// SPDX-License-Identifier: Apache-2.0
// What a viewer of the Foxglove WebSocket protocol may send, line by line: texts, and bytes in a line that begins
// with 0. It gets at most what it has subscribed to and what has room, whatever it says.
#include <nlohmann/json.hpp>
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "orliq/foxglove/FoxgloveOutlet.h"

namespace {

using orliq::fuzz::Require;

/// Takes what waits; the number of messages. Each text is one that a viewer can read.
std::size_t Drain(orliq::cli::FoxgloveOutlet& outlet) {
  std::size_t texts = 0, messages = 0;
  while (const auto next = outlet.Next(1)) {
    ++(next->binary ? messages : texts);
    if (next->binary) {
      Require(next->head.size() == 13 && *next->body == "cdr");
    } else {
      const auto json = nlohmann::json::parse(next->head, nullptr, false);
      Require(json.is_object());
      Require(json["op"] != "status" || next->head.size() < 500);
    }
  }
  Require(texts <= orliq::cli::FoxgloveViewer::kTexts);
  return messages;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq::cli;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  FoxgloveOutlet outlet({"127.0.0.1", 0, {}, size % 2 == 1});
  outlet.AddTopic({"/tf_static", &kRosTransforms, true});
  outlet.AddTopic({"/points", &kRosPointCloud2});
  const auto cdr = std::make_shared<const std::string>("cdr");
  outlet.Join(1);
  for (int i = 0; i < 2; ++i) outlet.Next(1);  // the greeting, which only Listen writes
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    for (std::size_t i = 0; i < 4; ++i) outlet.Publish(i % 2, {}, cdr);
    Require(line.substr(0, 1) == std::string_view("\0", 1) ? outlet.TakeBytes(1, line)
                                                           : outlet.Take(1, line));
    Require(Drain(outlet) <= 2);
  }
  outlet.Publish(0, {}, cdr);
  outlet.Publish(1, {}, cdr);
  const std::size_t sent = Drain(outlet);
  const FoxgloveOutlet::Sums before = outlet.Read();
  outlet.Leave(1);
  const FoxgloveOutlet::Sums after = outlet.Read();
  Require(sent <= 2 && before.sent == after.sent && before.left_out == after.left_out);
  Require(after.viewers == 0 && after.most_viewers == 1);
  return 0;
}
