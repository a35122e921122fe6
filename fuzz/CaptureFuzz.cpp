// SPDX-License-Identifier: Apache-2.0
// A capture file: at the position told for it a datagram is read again, or none in a damaged pcapng.
#include <utility>
#include <vector>

#include "fuzz/MemoryFile.h"
#include "input/InputPcap.h"

namespace orliq {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMoves = 64;  // as each may pass over all of a long file

void Read(const std::string& path, std::uint16_t port, bool classic) {
  lidar::InputPcap input({"", port, path});
  if (!input.Init()) return;
  auto buffer = std::make_shared<lidar::Buffer>();
  const auto bytes = [&] { return Bytes(buffer->data, buffer->data + buffer->length); };
  std::vector<std::pair<long, Bytes>> seen;
  long position = 0;
  while (const int length = input.RecvPacket(buffer, 0, &position, true) + 1) {
    if (length > 1 && seen.size() < kMoves) seen.emplace_back(position, bytes());
  }
  for (auto datagram = seen.rbegin(); datagram != seen.rend(); ++datagram) {
    const int length = input.RecvPacket(buffer, 0, &datagram->first, false);
    fuzz::Require(length > 0 ? bytes() == datagram->second : !classic && length < 0);
  }
}
}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orliq::fuzz::Quiet();
  const orliq::fuzz::MemoryFile file(data, size);
  const bool classic = size > 0 && *data != 0x0A;
  for (const bool any : {false, true}) orliq::Read(file.Path(), any ? 0 : 2368, classic);
  return 0;
}
