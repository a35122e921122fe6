// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "orliq/CloudWriter.h"
#include "orliq/Report.h"

// Rows that the closing tables of play and live have in common.
namespace orliq::cli {

/// Packets that the driver refuses, by its error codes.
struct RefusedPackets {
  std::uint64_t length = 0;      ///< 0x41: other than the model's length, or cut, or too large
  std::uint64_t identifier = 0;  ///< 0x42
};

void AddPointRows(Report& report, std::uint64_t points, std::uint64_t non_zero);
void AddRefusedRows(Report& report, const RefusedPackets& refused);

/// "20 pcd files in frames, 15.7 MB"
std::string FilesText(const CloudWriter& writer, const std::string& out);

}  // namespace orliq::cli
