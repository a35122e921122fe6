// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/ParamWire.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "simulator/sensors/ByteWriter.h"

namespace orliq::sim {
namespace {

constexpr std::uint8_t kRequestMark = 0xA5;  // four times
constexpr std::size_t kOffsetAt = 5;
constexpr std::size_t kLengthAt = 9;
constexpr std::size_t kChecksumAt = 11;

constexpr std::uint32_t kReplyMark = 0x5A5A5A5A;  // "ZZZZ"
constexpr std::size_t kTotalAt = 4;
constexpr std::uint32_t kTotalExcess = 32;  // [bytes] by which the total exceeds the image
constexpr std::size_t kHeaderRest = 28;
constexpr std::size_t kHeaderBytes = 8 + kHeaderRest;
constexpr std::size_t kTrailerBytes = 3;
constexpr std::size_t kLongestReply = 2048;  // [bytes]
constexpr std::size_t kLongestPiece = kLongestReply - kHeaderBytes - kTrailerBytes;

// What means nothing is not zero: a driver that takes it for calibration shows.
constexpr std::uint8_t kFiller = 0x5C;

std::uint32_t Read(const std::uint8_t* bytes, std::size_t width) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < width; ++i) value |= std::uint32_t{bytes[i]} << (8 * i);
  return value;
}

/// Of `choices` equally likely numbers from 0 on, the one that a draw even over [0, 1) stands for.
std::size_t Choose(double draw, std::size_t choices) {
  return static_cast<std::size_t>(draw * static_cast<double>(choices));
}

/// An image without a byte, of less than none, of one byte, half and double the true one, and as
/// many bytes as a signed and an unsigned number can say.
std::uint32_t MisleadingTotal(std::uint32_t right, double draw) {
  const std::array<std::uint32_t, 8> totals = {kTotalExcess,     0,         kTotalExcess - 1,
                                               kTotalExcess + 1, right / 2, right * 2,
                                               0x7FFFFFFF,       0xFFFFFFFF};
  const std::uint32_t total = totals[Choose(draw, totals.size())];
  return total != right ? total : right + 1;
}

}  // namespace

std::optional<ParamRequest> ReadParamRequest(const std::uint8_t* bytes, std::size_t size) {
  if (size != kParamRequestBytes) return std::nullopt;
  if (std::count(bytes, bytes + 4, kRequestMark) != 4) return std::nullopt;
  const unsigned sum = std::accumulate(bytes, bytes + kChecksumAt, 0U);
  if (bytes[kChecksumAt] != (sum & 0xFFU)) return std::nullopt;
  return ParamRequest{Read(bytes + kOffsetAt, 4),
                      static_cast<std::uint16_t>(Read(bytes + kLengthAt, 2))};
}

ParamPiece PieceFor(const ParamRequest& request, std::size_t image_bytes) {
  const std::size_t begin = std::min<std::size_t>(request.offset, image_bytes);
  const std::size_t bytes = std::min<std::size_t>(request.length, kLongestPiece);
  return {begin, begin + std::min(bytes, image_bytes - begin)};
}

std::vector<std::uint8_t> ParamReply(const std::vector<std::uint8_t>& image,
                                     const ParamPiece& piece) {
  const auto filler = [](std::size_t count) { return std::vector<std::uint8_t>(count, kFiller); };
  std::vector<std::uint8_t> reply;
  ByteWriter(reply, ByteWriter::Order::Little)
      .U32(kReplyMark)
      .U32(static_cast<std::uint32_t>(image.size()) + kTotalExcess)
      .Bytes(filler(kHeaderRest))
      .Bytes(std::vector<std::uint8_t>(image.data() + piece.begin, image.data() + piece.end))
      .Bytes(filler(kTrailerBytes));
  return reply;
}

bool DamageParamReply(std::vector<std::uint8_t>& reply, const ReplyFaults::Fate& fate) {
  if (fate.fault == ReplyFault::kShort) {
    reply.resize(Choose(fate.place, kHeaderBytes + kTrailerBytes));
  } else if (fate.fault == ReplyFault::kWrongMarker) {
    reply[Choose(fate.place, sizeof kReplyMark)] ^=
        static_cast<std::uint8_t>(1 + Choose(fate.change, 255));
  } else if (fate.fault == ReplyFault::kWrongTotal) {
    const std::uint32_t right = Read(&reply[kTotalAt], 4);
    const std::uint32_t total = MisleadingTotal(right, fate.change);
    for (std::size_t i = 0; i < 4; ++i) {
      reply[kTotalAt + i] = static_cast<std::uint8_t>(total >> (8 * i));
    }
  } else {
    return false;
  }
  return true;
}

}  // namespace orliq::sim
