// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "param/ParamService.h"

namespace orliq::cli {

constexpr std::uint32_t kBeamColumns = 256;  ///< of a table of one number for every beam
constexpr std::uint32_t kBeamRows = 192;

/// Smallest and largest of the numbers that are neither NaN nor infinite.
struct ValueRange {
  float min = 0.0F;
  float max = 0.0F;
  bool empty = true;

  void Add(float value);
};

/// One table of a check folder: the files that count as it, and the numbers that the driver uses.
struct CheckedTable {
  std::string word;                     ///< by which its files are recognised, such as "azimuth"
  std::string unit;                     ///< of its numbers; none for those that have several
  std::size_t needed = 0;               ///< numbers that a file must hold
  std::vector<lidar::TableLoad> files;  ///< in the order of the folder's listing
  std::vector<float> values;            ///< in use; none when no file was accepted

  /// The file whose numbers are in use: the last accepted one; null without.
  const lidar::TableLoad* InUse() const;
  /// One number for every beam position, column + 256 * row.
  bool HasBeams() const { return word != "weight" && word != "near_filter"; }
  ValueRange Range() const;
};

/// The tables of the folder that `service` loaded last, in the order in which their words are tried;
/// none for a model without tables.
std::vector<CheckedTable> TablesOf(lidar::ParamService& service, lidar::LidarType type);

/// The name of a file without its folder.
std::string FileName(const lidar::TableLoad& file);

}  // namespace orliq::cli
