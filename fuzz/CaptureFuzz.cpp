// SPDX-License-Identifier: Apache-2.0
// A capture file: at the position told for it a datagram is read again, or none in a damaged pcapng, and
// every record is in one count.
#include "fuzz/MemoryFile.h"
#include "fuzz/RecordLaws.h"

namespace orliq {
namespace {

constexpr std::size_t kMoves = 64;  // as each may pass over all of a long file

void Read(lidar::InputPcap& input, const std::string& path, bool classic) {
  lidar::RecordCounters counters;
  input.CountInto(counters);
  if (!input.Init()) return;
  auto buffer = std::make_shared<lidar::Buffer>();
  const auto bytes = [&] { return fuzz::Bytes(buffer->data, buffer->data + buffer->length); };
  std::vector<std::pair<long, fuzz::Bytes>> seen;
  fuzz::PassedRecords passed(path);
  long position = 0;
  while (passed.Add(input.RecvPacket(buffer, 0, &position, true))) {
    if (passed.HoldsPacket() && seen.size() < kMoves) seen.emplace_back(position, bytes());
  }
  passed.RequireIn(counters.Read());
  for (auto datagram = seen.rbegin(); datagram != seen.rend(); ++datagram) {
    const int length = input.RecvPacket(buffer, 0, &datagram->first, false);
    fuzz::Require(length > 0 ? bytes() == datagram->second : !classic && length < 0);
  }
}

}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  const fuzz::MemoryFile file(data, size);
  const bool classic = size > 0 && *data != 0x0A;
  for (auto& input : fuzz::Readers(file.Path())) Read(*input, file.Path(), classic);
  return 0;
}
