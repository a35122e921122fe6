// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include "fuzz/FuzzInput.h"
#include "orliq/foxglove/FoxgloveOutlet.h"

namespace orliq::fuzz {

/// Takes what waits for viewer 1; the number of messages. Each text is one that a viewer can read.
inline std::size_t Drain(cli::FoxgloveOutlet& outlet) {
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
  Require(texts <= cli::FoxgloveViewer::kTexts);
  return messages;
}

/// Nothing that the last viewer was sent is lost from the sums when it goes.
inline void RequireKeptSums(cli::FoxgloveOutlet& outlet) {
  const cli::FoxgloveOutlet::Sums before = outlet.Read();
  outlet.Leave(1);
  const cli::FoxgloveOutlet::Sums after = outlet.Read();
  Require(before.sent == after.sent && before.left_out == after.left_out);
  Require(after.viewers == 0 && after.most_viewers == 1);
}

}  // namespace orliq::fuzz
