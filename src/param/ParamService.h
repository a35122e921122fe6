// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "param/CheckParam.h"
#include "param/TableFile.h"

namespace orliq::lidar {

/// What became of one file of a check folder.
struct TableLoad {
  std::string path;
  std::string table;       ///< key word found in the path; empty when the file is no table
  std::size_t found = 0;   ///< numbers read
  std::size_t needed = 0;  ///< numbers the model asks for at least; 0 when the file is no table
  bool accepted = false;   ///< copied into the record
  bool readable = false;   ///< opened and read to its end; not tried when the file is no table
  std::size_t text = 0;    ///< fields among the numbers that hold none, and count as 0
};

/// Holds the check parameters of every sensor model and fills those of one model from a folder of
/// comma-separated text files.
///
/// Threads: none of its own and no lock. It is used by the thread that initialises the driver.
/// Ownership: the records live as long as the service; GetCheckParam points into it.
/// Failure: nothing throws for what a folder may hold. A table that cannot be read or is too short
/// leaves its field as it was, all zero at first.
class ParamService {
 public:
  struct Impl;

  ParamService();
  ~ParamService();
  ParamService(const ParamService&) = delete;
  ParamService& operator=(const ParamService&) = delete;

  /// Fills the record of `type` from the tables of `folder`: a file is the first of azimuth,
  /// elevation, weight, near_filter and (Juniq) offset that its whole path contains. Numbers beyond
  /// a table's length are ignored; the first field of each weight line is a label.
  ///
  /// Files count, not tables: true when exactly 4 were accepted, for Juniq when more than 3 were. A
  /// further copy of a table therefore spoils a folder of the other models. False at once for a
  /// model without tables.
  [[nodiscard]] bool LoadCheckFolder(const LidarType& type, const std::string& folder);

  /// The record of `type`, to be copied as one block; null for a model that has none.
  CheckParam* GetCheckParam(const LidarType& type);

  /// The files of the last LoadCheckFolder in the order of their listing, for telling a user why a
  /// folder fails.
  const std::vector<TableLoad>& LastLoad() const { return last_load_; }

  /// The tables that the model of the last LoadCheckFolder asks for, with what they need; none for a
  /// model without tables.
  const std::vector<TableLoad>& LastTables() const { return last_tables_; }

 private:
  std::shared_ptr<Impl> impl_;
  std::vector<TableLoad> last_load_;
  std::vector<TableLoad> last_tables_;
};

/// The storage, about 1.7 MB and zero at first.
struct ParamService::Impl {
  // Assembly of the tables that a sensor uploads itself.
  std::int32_t total_size = 0;             ///< [bytes] of payload expected
  std::int32_t received_size = 0;          ///< [bytes] of payload received
  char marker[4] = {'Z', 'Z', 'Z', 'Z'};   ///< first bytes of every reply
  std::vector<std::uint8_t> check_buffer;  ///< payload received

  CheckParam corvik;
  CheckParam brantis;
  AngleCheckParam hestra;
  AngleCheckParam fennix;
  AngleCheckParam glavor;
  OffsetCheckParam juniq;

  /// Appends the numbers of a text file in the columns `start`, `start + step`, ... to `values` and
  /// counts them; of more numbers than the largest table holds the rest is only counted. A file
  /// that cannot be read adds nothing.
  TableRead LoadFile(const std::string& path, std::vector<float>& values, unsigned start,
                     unsigned step);
};

}  // namespace orliq::lidar
