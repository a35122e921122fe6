// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/Ledger.h"

#include <algorithm>
#include <utility>

namespace orliq::cli {
namespace {

using Sign = LedgerSign;

/// ", 12 of them <words>"; nothing for none.
std::string OfThem(std::uint64_t count, const std::string& words) {
  return count > 0 ? ", " + Grouped(count) + " of them " + words : "";
}

LedgerSection RecordSection(const lidar::RecordCounts& records) {
  return {"records",
          "Records",
          {{"records", records.records, Sign::kWhole, "records in the capture", "records"},
           {"not_udp", records.not_udp, Sign::kLess, "not UDP, or behind a VLAN tag", "not UDP"},
           {"other_port", records.other_port, Sign::kLess, "to another port", "other port"},
           {"fragments", records.fragments, Sign::kLess, "further pieces of a datagram", "pieces"},
           {"too_short", records.too_short, Sign::kLess, "shorter than their headers", "short"},
           {"other_source", records.other_source, Sign::kLess, "of another sender", "other sender"},
           {"empty", records.empty, Sign::kLess, "without a byte of payload", "empty"},
           {"packets", records.packets, Sign::kRest, "packets to the sensor's port", "packets"},
           {"cut", records.cut, Sign::kAside, "", ""},
           {"too_long", records.too_long, Sign::kAside, "", ""},
           {"damaged", records.damaged, Sign::kAside, "", ""}},
          "records in the capture, all of them packets to the sensor's port"};
}

/// What the driver refuses, and what is left.
void AddDecoded(std::vector<LedgerEntry>& entries, const Ledger& ledger) {
  const lidar::DriverStatistics& counts = ledger.counts;
  const lidar::RecordCounts& played = counts.capture.played;
  entries.push_back({"refused_length", counts.refused_length, Sign::kLess,
                     "refused: of another length (0x41)" +
                         OfThem(played.cut, "cut by the snap length") +
                         OfThem(played.too_long, "too long"),
                     "refused 0x41"});
  entries.push_back({"refused_identifier", counts.refused_identifier, Sign::kLess,
                     "refused: with another identifier (0x42)", "refused 0x42"});
}

LedgerSection PlayedSection(const Ledger& ledger) {
  const lidar::DriverStatistics& counts = ledger.counts;
  const std::uint64_t shared = counts.decoded - std::min(counts.decoded, ledger.packets);
  const std::string of_two = OfThem(shared, "shared by two frames");
  LedgerSection section = {
      "packets", "Packets", {}, "packets played, all of them decoded" + of_two};
  auto& entries = section.entries;
  entries.push_back({"played", counts.received, Sign::kWhole, "packets played", "played"});
  AddDecoded(entries, ledger);
  entries.push_back({"decoded", counts.decoded, Sign::kRest, "decoded" + of_two, "decoded"});
  entries.push_back({"shared", shared, Sign::kAside, "", ""});
  return section;
}

LedgerSection ReceivedSection(const Ledger& ledger) {
  const lidar::DriverStatistics& counts = ledger.counts;
  const std::uint64_t arrived =
      counts.received + counts.dropped_by_kernel + counts.other_source + counts.empty;
  LedgerSection section = {
      "packets", "Packets", {}, "packets reached the socket, all of them decoded"};
  auto& entries = section.entries;
  entries = {
      {"arrived", arrived, Sign::kWhole, "packets reached the socket", "arrived"},
      {"dropped_by_kernel", counts.dropped_by_kernel, Sign::kLess,
       "lost: they found the socket's buffer full", "lost"},
      {"other_source", counts.other_source, Sign::kLess, "of another sender", "other sender"},
      {"empty", counts.empty, Sign::kLess, "without a byte", "empty"},
      {"dropped_by_limit", counts.dropped_by_limit, Sign::kLess,
       "given up at the limit of the queue", "given up"},
      {"queued", counts.queued, Sign::kLess, "still waiting at the end", "waiting"}};
  AddDecoded(entries, ledger);
  entries.push_back({"decoded", counts.decoded, Sign::kRest, "decoded", "decoded"});
  return section;
}

/// Only what the sensor numbers can be missed.
void AddSkipped(LedgerSection& section, const Ledger& ledger) {
  section.entries.push_back({"skipped", ledger.counts.skipped_packets, Sign::kAside,
                             "missing by the sensor's numbers, wherever they were lost",
                             "missing"});
}

/// Returns that are points already, but of no cloud that was handed over.
std::uint64_t Unfinished(const Ledger& ledger) {
  const lidar::DriverStatistics& counts = ledger.counts;
  const std::uint64_t left_out = ledger.model->keeps_gated_points ? 0 : counts.gated;
  const std::uint64_t gone = counts.points + counts.filtered + left_out;
  return counts.returns - std::min(counts.returns, gone);
}

LedgerSection PointSection(const Ledger& ledger) {
  const lidar::DriverStatistics& counts = ledger.counts;
  const bool kept = ledger.model->keeps_gated_points;
  const bool same = counts.frames == ledger.frames;
  const std::string in_frames =
      "points in " + Count(counts.frames, "frame") +
      (same ? "" : ", " + Grouped(ledger.frames) + " of which are counted above");
  const std::string whole = Grouped(ledger.model->returns) + " returns";
  return {
      "points",
      "Points",
      {{"returns", counts.returns, Sign::kWhole, "returns in them", "returns"},
       {"at_origin", kept ? counts.gated : 0, Sign::kAside,
        "of them null or outside the limits: at the origin", "at origin"},
       {"left_out", kept ? 0 : counts.gated, Sign::kLess, "null or outside the limits", "left out"},
       {"filtered", counts.filtered, Sign::kLess, "isolated: taken out by the radius filter",
        "filtered"},
       {"unfinished", Unfinished(ledger), Sign::kLess,
        ledger.of_capture ? "of packets decoded twice, or of a frame that did not end"
                          : "of a frame that had not ended",
        "unfinished"},
       {"points", counts.points, Sign::kRest, in_frames, "points"},
       {"frames", counts.frames, Sign::kAside, "", "frames"},
       {"short_frames", counts.short_frames, Sign::kAside, "of these frames short of " + whole,
        "short"}},
      "returns in them, all of them " + in_frames};
}

const char* SignText(LedgerSign sign) {
  return sign == Sign::kLess ? "-" : sign == Sign::kRest ? "=" : "";
}

/// Whether something was taken from the whole.
bool Takes(const LedgerSection& section) {
  return std::any_of(section.entries.begin(), section.entries.end(), [](const LedgerEntry& entry) {
    return entry.sign == Sign::kLess && entry.count > 0;
  });
}

void AddRows(std::vector<LedgerRow>& rows, const LedgerSection& section) {
  if (section.entries.front().count == 0 && !rows.empty()) return;  // no returns
  const bool takes = Takes(section);
  for (const LedgerEntry& entry : section.entries) {
    const auto& [key, count, sign, words, column] = entry;
    const bool whole = sign == Sign::kWhole;
    const bool shown = whole || (sign == Sign::kRest ? takes : count > 0 && !words.empty());
    const bool all = whole && !takes && count > 0;
    if (shown) rows.push_back({key, SignText(sign), Grouped(count), all ? section.all : words});
  }
}

bool IsSum(const LedgerEntry& entry) {
  return entry.sign == Sign::kWhole || entry.sign == Sign::kRest;
}

/// The same section of several sensors.
using SensorSections = std::vector<LedgerSection>;

/// The entries that have a heading and are more than 0 for any of them, or in a sum.
std::vector<std::size_t> ColumnsOf(const SensorSections& sensors) {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < sensors.front().entries.size(); ++i) {
    const LedgerEntry& heading = sensors.front().entries[i];
    const bool any = std::any_of(sensors.begin(), sensors.end(),
                                 [i](const auto& section) { return section.entries[i].count > 0; });
    if (*heading.column != 0 && (any || IsSum(heading))) columns.push_back(i);
  }
  return columns;
}

Table SectionTable(const std::vector<NamedLedger>& ledgers, const SensorSections& sensors) {
  Table table = {sensors.front().title, {"name"}, {false}, {}};
  const std::vector<std::size_t> columns = ColumnsOf(sensors);
  for (const std::size_t column : columns) {
    table.columns.emplace_back(sensors.front().entries[column].column);
    table.align_right.push_back(true);
  }
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    table.rows.push_back({ledgers[i].name});
    for (const std::size_t column : columns) {
      table.rows.back().push_back(Grouped(sensors[i].entries[column].count));
    }
  }
  return table;
}

}  // namespace

std::vector<LedgerSection> LedgerSections(const Ledger& ledger) {
  std::vector<LedgerSection> sections;
  if (ledger.of_capture) sections.push_back(RecordSection(ledger.counts.capture.indexed));
  sections.push_back(ledger.of_capture ? PlayedSection(ledger) : ReceivedSection(ledger));
  AddSkipped(sections.back(), ledger);
  sections.push_back(PointSection(ledger));
  return sections;
}

std::vector<LedgerRow> LedgerRows(const Ledger& ledger) {
  std::vector<LedgerRow> rows;
  for (const LedgerSection& section : LedgerSections(ledger)) AddRows(rows, section);
  return rows;
}

Json LedgerJson(const Ledger& ledger) {
  Json json = Json::Object();
  for (const LedgerSection& section : LedgerSections(ledger)) {
    for (const LedgerEntry& entry : section.entries) json[section.key][entry.key] = entry.count;
  }
  return json;
}

void AddLedger(Report& report, const Ledger& ledger) {
  Table table = {"Ledger", {"", "", ""}, {false, true, false}, {}};
  for (const LedgerRow& row : LedgerRows(ledger)) {
    table.rows.push_back({row.sign, row.count, row.words});
  }
  report.Add("ledger", LedgerJson(ledger), std::move(table));
}

void AddLedgerTables(Report& report, const std::vector<NamedLedger>& ledgers) {
  std::vector<SensorSections> sections;  // of each kind those of all sensors
  for (const NamedLedger& of_sensor : ledgers) {
    const std::vector<LedgerSection> own = LedgerSections(of_sensor.ledger);
    sections.resize(own.size());
    for (std::size_t i = 0; i < own.size(); ++i) sections[i].push_back(own[i]);
  }
  for (const SensorSections& sensors : sections) report.Add(SectionTable(ledgers, sensors));
}

}  // namespace orliq::cli
