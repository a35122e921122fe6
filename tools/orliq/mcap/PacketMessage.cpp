// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/PacketMessage.h"

#include <arpa/inet.h>

#include <limits>

#include "orliq/mcap/McapFormat.h"

namespace orliq::cli {
namespace {

using Address = std::array<std::uint8_t, 4>;

constexpr std::string_view kLittleEndian("\0\x01\0\0", 4);  // stands before a message in CDR

constexpr std::uint32_t kSecond = 1'000'000'000;                               // [ns]
constexpr std::int32_t kEndOfTime = std::numeric_limits<std::int32_t>::max();  // [s]
constexpr std::size_t kMaxPayload = 65507;  // [bytes] of a datagram over IPv4

/// Appends a message in CDR: each number at a multiple of its size behind the head; texts end with a zero,
/// which counts.
class CdrBytes {
 public:
  explicit CdrBytes(std::string& to) : bytes_(to.append(kLittleEndian)), begin_(to.size()) {}

  template <typename Number>
  void Put(Number number) {
    bytes_.append((begin_ - bytes_.size()) % sizeof number, '\0');
    McapBytes(bytes_).Put(number);
  }

  void PutAddress(const Address& address) {
    char text[INET_ADDRSTRLEN] = {};
    ::inet_ntop(AF_INET, address.data(), text, sizeof text);
    PutBytes({text, std::char_traits<char>::length(text) + 1});
  }

  void PutBytes(std::string_view bytes) {
    Put(static_cast<std::uint32_t>(bytes.size()));
    bytes_.append(bytes);
  }

 private:
  std::string& bytes_;
  const std::size_t begin_;  // behind the head
};

class CdrFields {
 public:
  explicit CdrFields(std::string_view bytes) : size_(bytes.size()), fields_(bytes) {}

  template <typename Number>
  Number Take() {
    const std::size_t at = size_ - fields_.Rest().size();
    fields_.TakeRaw((sizeof(Number) - at % sizeof(Number)) % sizeof(Number));
    return fields_.Take<Number>();
  }

  std::string_view TakeBytes() { return fields_.TakeRaw(Take<std::uint32_t>()); }

  bool TakeAddress(Address& address) {
    const std::string_view text = TakeBytes();
    const bool ends = !text.empty() && text.back() == '\0';
    return ends && ::inet_pton(AF_INET, text.data(), address.data()) == 1;
  }

  bool EndedEarly() const { return fields_.EndedEarly(); }

 private:
  std::size_t size_;
  McapFields fields_;
};

}  // namespace

void AppendPacket(const PacketMessage& packet, std::string& to) {
  CdrBytes cdr(to);
  cdr.Put(static_cast<std::uint32_t>(packet.stamp.seconds));
  cdr.Put(packet.stamp.nanoseconds);
  cdr.PutAddress(packet.source);
  cdr.Put(packet.source_port);
  cdr.PutAddress(packet.destination);
  cdr.Put(packet.port);
  cdr.PutBytes(packet.data);
}

std::optional<PacketMessage> ReadPacketCdr(std::string_view cdr) {
  if (cdr.substr(0, kLittleEndian.size()) != kLittleEndian) return std::nullopt;
  CdrFields fields(cdr.substr(kLittleEndian.size()));
  PacketMessage packet;
  packet.stamp.seconds = static_cast<std::int32_t>(fields.Take<std::uint32_t>());
  packet.stamp.nanoseconds = fields.Take<std::uint32_t>();
  if (!fields.TakeAddress(packet.source)) return std::nullopt;
  packet.source_port = fields.Take<std::uint16_t>();
  if (!fields.TakeAddress(packet.destination)) return std::nullopt;
  packet.port = fields.Take<std::uint16_t>();
  packet.data = fields.TakeBytes();
  const bool has_time = packet.stamp.seconds >= 0 && packet.stamp.seconds < kEndOfTime &&
                        packet.stamp.nanoseconds < kSecond;
  if (fields.EndedEarly() || !has_time || packet.data.size() > kMaxPayload) return std::nullopt;
  return packet;
}

}  // namespace orliq::cli
