// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// Where a driver took its calibration tables (the check parameters) from.
enum class CalibrationSource : std::uint32_t {
  None = 0,    ///< the model has no tables, or no folder was named
  Folder = 1,  ///< a check folder
  Sensor = 2,  ///< the sensor itself
};

/// Why a table, or one of its files, is not in use.
enum class TableFault : std::uint32_t {
  Missing = 1,     ///< no file is taken for this table, or the sensor sent none
  Unreadable = 2,  ///< the file cannot be read to its end
  Short = 3,       ///< the file, or what the sensor sent, holds fewer numbers than the model needs
  Replaced = 4,    ///< a later file is taken for the same table
};

/// A table that was not taken, and why.
struct ORLIQ_API RefusedTable {
  std::string table;       ///< azimuth, elevation, weight, near_filter or offset
  std::string file;        ///< its path; empty when Missing, and for what the sensor sent
  std::size_t found = 0;   ///< numbers in the file
  std::size_t needed = 0;  ///< numbers that the model asks for at least
  TableFault fault = TableFault::Missing;  ///< why it was not taken
  std::string text;                        ///< the same as a sentence for a log
};

/// What became of a sensor's calibration. Without it (`loaded` false) the tables are zero: all points
/// lie straight ahead, at uncorrected ranges. A loaded folder, or what a sensor sent, may still have
/// refused tables, which stay zero where no other file gave them. Tables from the sensor come while
/// packets are decoded already: `loaded` turns true when the decoder takes them over.
struct ORLIQ_API CalibrationStatus {
  /// Where the tables were to come from.
  CalibrationSource source = CalibrationSource::None;
  bool loaded = false;                ///< the tables are in use
  std::string folder;                 ///< as named in the parameters
  std::string folder_fault;           ///< why the folder as such is of no use, or empty
  std::vector<RefusedTable> refused;  ///< in the order of the tables, and of a table's files
};

}  // namespace orliq::lidar
