// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/DriverStatistics.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Report.h"

namespace orliq::cli {

/// Whose packets became points, or what else.
struct Ledger {
  const Model* model = nullptr;
  lidar::DriverStatistics counts;
  std::uint64_t frames = 0;   ///< of those in `counts`, that the report's own count has
  bool of_capture = false;    ///< or live, when its driver has stopped
  std::uint64_t packets = 0;  ///< of the frames that were played, each once; of a capture
};

/// How a count stands to those above it.
enum class LedgerSign : std::uint8_t {
  kWhole,  ///< what the next ones are taken from
  kLess,   ///< what became of some of it
  kRest,   ///< the whole less all of those
  kAside,  ///< in no sum
};

struct LedgerEntry {
  const char* key;  ///< in JSON
  std::uint64_t count;
  LedgerSign sign;
  std::string words;   ///< behind the count; empty: for JSON only
  const char* column;  ///< heading where several sensors stand in a table
};

/// A whole, what was taken from it and the rest, which add up.
struct LedgerSection {
  const char* key;                   ///< in JSON
  const char* title;                 ///< of a table of several sensors
  std::vector<LedgerEntry> entries;  ///< zeros too
  std::string all;                   ///< words for a whole of which nothing was taken
};

/// Records of a capture, packets, and the returns in them; what a model has none of is left out.
std::vector<LedgerSection> LedgerSections(const Ledger& ledger);

/// A line for people.
struct LedgerRow {
  std::string key;    ///< of the entry
  std::string sign;   ///< "-", "=" or none
  std::string count;  ///< "12,345"
  std::string words;
};

/// The entries that are not 0, and the whole ones.
std::vector<LedgerRow> LedgerRows(const Ledger& ledger);

/// Every count of the sections: {"packets": {"arrived": ...}, ...}
Json LedgerJson(const Ledger& ledger);

/// Those rows as a table, with JSON member `ledger`.
void AddLedger(Report& report, const Ledger& ledger);

struct NamedLedger {
  std::string name;  ///< of the sensor
  Ledger ledger;
};

/// Those of several sensors of one kind: a table for each section, without the columns that are 0 for
/// all. For people only.
void AddLedgerTables(Report& report, const std::vector<NamedLedger>& ledgers);

}  // namespace orliq::cli
