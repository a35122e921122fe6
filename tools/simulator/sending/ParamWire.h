// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sending/ReplyFaults.h"

// The bytes by which a sensor is asked for its calibration image and hands out pieces of it; all
// integers are little-endian.
namespace orliq::sim {

constexpr std::size_t kParamRequestBytes = 12;

/// The piece that a request asks for.
struct ParamRequest {
  std::uint32_t offset = 0;  ///< [bytes] in the image
  std::uint16_t length = 0;  ///< [bytes]
};

/// What the datagram asks for; nothing when its length, header or checksum is not a request's.
std::optional<ParamRequest> ReadParamRequest(const std::uint8_t* bytes, std::size_t size);

/// A part of the image: bytes from `begin` up to the one before `end`.
struct ParamPiece {
  std::size_t begin = 0;
  std::size_t end = 0;
};

/// What the sensor gives of the piece asked for: nothing behind the end of the image, and no more
/// than fits a reply of 2048 bytes.
ParamPiece PieceFor(const ParamRequest& request, std::size_t image_bytes);

std::vector<std::uint8_t> ParamReply(const std::vector<std::uint8_t>& image,
                                     const ParamPiece& piece);

/// Damages a reply if its fate is kShort, kWrongMarker or kWrongTotal; false when it is none of them.
bool DamageParamReply(std::vector<std::uint8_t>& reply, const ReplyFaults::Fate& fate);

}  // namespace orliq::sim
