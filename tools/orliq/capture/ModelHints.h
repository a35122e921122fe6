// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// The model that sent a flow, as far as the content of its packets tells.
struct Likely {
  const Model* model = nullptr;  ///< null: nothing tells
  std::string why = {};
};

/// Looks into packets of models that share their length and identifier. What it finds is a hint and
/// no proof: packets of damaged content, or of a sensor that this version does not know, can look
/// like anything. Only the first packets of a flow are looked at.
class ModelHints {
 public:
  static constexpr std::uint64_t kPacketsSeen = 1000;

  /// Takes the next whole datagram of the flow.
  void Add(const std::uint8_t* payload, std::size_t size);

  /// Judges the packets of the length that most have.
  Likely Find() const;

  /// Judges the packets as long as the model's.
  Likely FindLike(const Model& model) const;

 private:
  void AddBlocks(const std::uint8_t* payload);
  void AddLine(const std::uint8_t* payload);
  Likely FindAmongBlocks() const;
  Likely FindAmongLines() const;

  std::uint64_t seen_ = 0;

  // Packets of 1360 bytes, which hold blocks of 40 bytes (Glavor) or records of 25 (Fennix).
  std::uint64_t of_blocks_ = 0;
  std::uint64_t like_glavor_ = 0;
  std::uint64_t like_fennix_ = 0;

  // Packets of 1236 bytes.
  std::uint64_t of_lines_ = 0;
  std::uint64_t like_corvik_ = 0;         // line number and date make sense
  std::uint64_t lines_ = 0;               // line number makes sense; a mere 0 does not count
  std::uint64_t empty_ = 0;               // zeros behind the identifier
  std::uint64_t count_ups_ = 0;           // the frame counter of a Brantis moved as one does
  std::uint64_t count_leaps_ = 0;         // or otherwise
  std::optional<std::uint16_t> counter_;  // of the packet before
};

}  // namespace orliq::cli
