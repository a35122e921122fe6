// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/Ledger.h"

#include <gtest/gtest.h>

#include <sstream>

namespace orliq::cli {
namespace {

std::string Text(const Report& report) {
  std::ostringstream text;
  report.PrintText(text);
  return text.str();
}

std::string Text(const Ledger& ledger) {
  Report report;
  AddLedger(report, ledger);
  return Text(report);
}

lidar::DriverStatistics Received() {
  lidar::DriverStatistics s;
  s.dropped_by_kernel = 40;
  s.received = 1000;
  s.refused_length = 20;
  s.queued = 3;
  s.decoded = 977;
  s.skipped_packets = 5;
  s.returns = 62'528;
  s.gated = 528;
  s.filtered = 28;
  s.points = 62000;
  s.frames = 2;
  s.short_frames = 1;
  return s;
}

TEST(Ledger, AddsUpForTheEye) {
  EXPECT_EQ(Text({&KnownModel("juniq"), Received(), 1}), R"(
Ledger
      1,040  packets reached the socket
  -      40  lost: they found the socket's buffer full
  -       3  still waiting at the end
  -      20  refused: of another length (0x41)
  =     977  decoded
          5  missing by the sensor's numbers, wherever they were lost
     62,528  returns in them
        528  of them null or outside the limits: at the origin
  -      28  isolated: taken out by the radius filter
  -     500  of a frame that had not ended
  =  62,000  points in 2 frames, 1 of which are counted above
          1  of these frames short of 49,152 returns
)");
  lidar::DriverStatistics s;
  s.received = s.decoded = 10;
  EXPECT_EQ(Text({&KnownModel("hestra"), s}),
            "\nLedger\n    10  packets reached the socket, all of them decoded\n");
  s.returns = 2600;
  s.gated = 600;
  s.points = 2000;
  s.capture.indexed.records = 12;
  s.capture.indexed.packets = 10;
  s.capture.indexed.other_port = 2;
  EXPECT_EQ(Text({&KnownModel("kelvane"), s, 0, true, 8}), R"(
Ledger
        12  records in the capture
  -      2  to another port
  =     10  packets to the sensor's port
        10  packets played, all of them decoded, 2 of them shared by two frames
     2,600  returns in them
  -    600  null or outside the limits
  =  2,000  points in 0 frames
)");
}

TEST(Ledger, OfSeveralSensorsHasTheColumnsThatSaySomething) {
  lidar::DriverStatistics clean;
  clean.received = clean.decoded = 1234;
  Report report;
  AddLedgerTables(report, {{"front", {&KnownModel("juniq"), Received()}},
                           {"rear", {&KnownModel("kelvane"), clean}}});
  EXPECT_EQ(Text(report), R"(
Packets
  name   arrived  lost  waiting  refused 0x41  decoded  missing
  front    1,040    40        3            20      977        5
  rear     1,234     0        0             0    1,234        0

Points
  name   returns  at origin  filtered  unfinished  points  frames  short
  front   62,528        528        28         500  62,000       2      1
  rear         0          0         0           0       0       0      0
)");
}

}  // namespace
}  // namespace orliq::cli
