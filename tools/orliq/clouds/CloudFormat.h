// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "orliq/clouds/CloudView.h"

namespace orliq::cli {

/// File formats for a cloud. All keep every field with its true width.
enum class CloudFormat {
  kPcd,  ///< PCD 0.7, binary
  kPly,  ///< PLY 1.0, binary little-endian
  kCsv,  ///< text with a line of names first; floats have the digits that restore them exactly
};

/// "pcd", "ply" and "csv"; nothing for another name.
std::optional<CloudFormat> ParseCloudFormat(const std::string& name);

/// The format's name, which is also the ending of its files.
std::string CloudFormatName(CloudFormat format);

/// What stands before the points: PCD and PLY header or the line of CSV names.
std::string CloudHeader(CloudFormat format, const CloudView& cloud);

/// The points as lines of text, for CSV.
std::string CsvRows(const CloudView& cloud);

}  // namespace orliq::cli
