// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orliq::cli {

/// The lines of beams that share an angle: the columns of an azimuth table or the rows of an elevation
/// table. The middle angle of a line tells where it lies, whatever a few of its beams say.
class BeamLines {
 public:
  /// `faulty` marks the beams that do not count. Both are read now only.
  BeamLines(const std::vector<float>& angles, const std::vector<std::uint8_t>& faulty,
            bool by_column);

  /// Two neighbouring lines of which the second one lies on the wrong side of the first one.
  struct Seam {
    std::uint32_t before = 0, after = 0;  ///< columns or rows
    float from = 0.0F, to = 0.0F;         ///< [deg]
  };

  /// From line to line angles only rise or only fall. The largest step back, when the steps back are
  /// worth more than two usual steps.
  std::optional<Seam> FindSeam() const;

  /// [deg] for each beam, how far it is from the middle of its line; 0 for one that does not count.
  std::vector<float> Distances(const std::vector<float>& angles) const;

 private:
  std::uint32_t LineOf(std::uint32_t beam) const;

  struct Line {
    std::uint32_t index = 0;
    float middle = 0.0F;
  };

  bool by_column_;
  std::vector<std::uint8_t> faulty_;
  std::vector<float> middles_;  // of every line; 0 without a beam that counts
  std::vector<Line> lines_;     // those with one
};

}  // namespace orliq::cli
