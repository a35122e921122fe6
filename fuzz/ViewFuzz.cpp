// SPDX-License-Identifier: Apache-2.0
// What a client of the page in the browser may send: the headers that tell who it is, line by line, and
// then the messages of a WebSocket. It gets at most what it may have, whatever it says.
#include <string_view>

#include "fuzz/FuzzInput.h"
#include "orliq/verbs/view/ViewHub.h"
#include "orliq/web/WebAccess.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const auto line = [&rest] {
    const std::string_view text = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
    return text;
  };
  const std::string_view host = line();
  const std::string_view origin = line();
  const std::string_view token = line();
  const cli::WebAccess guarded({"0123456789abcdef"});
  const bool welcome = guarded.WhyRefused({host, origin, token}).empty();
  fuzz::Require(!welcome || token == "0123456789abcdef");
  const PointCloud<Point> nothing;
  cli::ViewHub hub("hello");
  hub.Join(1);
  hub.SetPlayer([](const cli::PlayerCommand& command) {
    if (const auto* const speed = std::get_if<cli::SetSpeed>(&command)) {
      fuzz::Require(speed->factor >= cli::kSlowest && speed->factor <= cli::kFastest);
    }
  });
  while (!rest.empty()) {
    hub.Show({nullptr, cli::View(nothing), {}}, -1);
    hub.Take(1, line());
    hub.Next(1);
  }
  fuzz::Require(hub.Read().sent <= hub.Read().frames);
  return 0;
}
