// SPDX-License-Identifier: Apache-2.0
// A file of messages, whatever its bytes are: the reader comes to an end, each message lies within what was
// read, and a packet among them is written again as it was read.
#include "fuzz/MemoryFile.h"
#include "orliq/mcap/McapReader.h"
#include "orliq/mcap/PacketMessage.h"

namespace orliq {
namespace {

void Take(const cli::McapMessage& message) {
  std::uint32_t sum = 0;
  for (const char byte : message.data) sum += static_cast<std::uint8_t>(byte);
  fuzz::Require(sum <= 255 * message.data.size());
  const auto packet = cli::ReadPacketCdr(message.data);
  if (!packet) return;
  std::string again;
  cli::AppendPacket(*packet, again);
  const auto read = cli::ReadPacketCdr(again);
  fuzz::Require(read && read->data == packet->data && read->source == packet->source);
  fuzz::Require(read->stamp.Nanoseconds() == packet->stamp.Nanoseconds());
}

}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace orliq;
  const fuzz::MemoryFile file(data, size);
  if (!cli::McapReader::IsMcap(file.Path())) return 0;
  cli::McapReader reader(file.Path());
  for (cli::McapMessage message; reader.Next(message);) Take(message);
  cli::McapMessage none;
  fuzz::Require(!reader.Next(none));
  return 0;
}
