// SPDX-License-Identifier: Apache-2.0
#include "param/TableFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

using Floats = std::vector<float>;

Floats Read(const std::string& text, TableColumns columns = {}) {
  const test::TempDir folder;
  Floats values;
  const TableRead read = ReadTableFile(folder.Write("table", text), columns, 1000000, values);
  EXPECT_TRUE(read.readable);
  EXPECT_EQ(read.found, values.size());
  return values;
}

bool SameBits(const Floats& a, const Floats& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

TEST(TableFile, FieldsAreSplitAsSpreadsheetsWriteThem) {
  const struct {
    const char* why;
    std::string text;
    TableColumns columns;
    Floats expected;
  } rows[] = {
      {"several per line, in file order", "1,2\n3,4\n", {}, {1, 2, 3, 4}},
      {"a comma at the end opens no field", "1,2,\n3,\n", {}, {1, 2, 3}},
      {"a field between two commas counts", "1,,2\n,\n,,\n", {}, {1, 0, 2, 0, 0, 0}},
      {"an empty line has no field", "\n1\n\n\n2\n", {}, {1, 2}},
      {"a blank field does not reach into the next line", "1, \n2\n", {}, {1, 0, 2}},
      {"the last line needs no newline", "1,2\n3", {}, {1, 2, 3}},
      {"carriage returns are trailing text", "1,2\r\n3\r\n,\r\n", {}, {1, 2, 3, 0, 0}},
      {"a label column is skipped on every line", "a,1\nb,2,3\nc\n", {1, 1}, {1, 2, 3}},
      {"every second field from the second on", "0,1,2,3,4\n5,6\n", {1, 2}, {1, 3, 6}},
      {"a step of 0 must not stand still", "1,2\n", {0, 0}, {1, 2}},
      {"a byte order mark spoils the first number", "\357\273\2771,2", {}, {0, 2}},
      {"a zero byte ends its field only", std::string("1\0002,3", 5), {}, {1, 3}},
  };
  for (const auto& row : rows) EXPECT_EQ(Read(row.text, row.columns), row.expected) << row.why;
}

TEST(TableFile, NumbersMeanWhatTheCLibraryMakesOfThem) {
  constexpr float kInf = std::numeric_limits<float>::infinity();
  EXPECT_EQ(Read("-1.5, \t\v+2.5,.5,7.,1e2,1e,1e+"), (Floats{-1.5F, 2.5F, .5F, 7, 100, 1, 1}));
  EXPECT_EQ(Read("1.5.5,12abc,12 34,abc,-,+-1,0x1.8p1,0x,0X10"),
            (Floats{1.5F, 12, 12, 0, 0, 0, 3, 0, 16}));
  EXPECT_EQ(Read("inf,-INFINITY,infinite,1e39,-1e999"), (Floats{kInf, -kInf, kInf, kInf, -kInf}));
  EXPECT_TRUE(SameBits(Read("-0,-1e-999,1.4e-45"), {-0.0F, -0.0F, 1.4e-45F}));
  for (const char* text : {"nan", "-nan", "NaN(1)"}) EXPECT_TRUE(std::isnan(Read(text)[0])) << text;
  // Less than half a step above the largest float, and half a step, which rounds to even.
  EXPECT_EQ(Read("3.4028235677973362e38,-3.4028235677973366e38"),
            (Floats{std::numeric_limits<float>::max(), -kInf}));
  // A double in between rounds to a tie first, and that to even.
  EXPECT_EQ(Read("1.00000005960464477539062500001"), Floats{1});
}

TEST(TableFile, OnlyRegularFilesOfBearableSizeAreReadAndOfTooManyNumbersTheRestIsCounted) {
  const test::TempDir folder;
  ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
  const std::pair<const char*, const char*> links[] = {
      {"/dev/zero", "device"}, {"loop", "loop"}, {"nowhere", "dangling"}, {"table", "link"}};
  for (const auto& [target, name] : links) std::filesystem::create_symlink(target, folder / name);
  std::filesystem::resize_file(folder.Write("sparse", "1\n"), std::uintmax_t{1} << 30);
  Floats values = {7};
  for (const char* name : {"fifo", "device", "loop", "dangling", "sparse", "missing", "."}) {
    EXPECT_FALSE(ReadTableFile(folder / name, {}, 10, values).readable) << name;
  }
  EXPECT_EQ(values, Floats{7});
  folder.Write("table", "1,2,3\n4,5\n");
  EXPECT_EQ(ReadTableFile(folder / "link", {}, 3, values).found, 5U) << "links are followed";
  EXPECT_EQ(values, (Floats{7, 1, 2, 3}));
}

}  // namespace
}  // namespace orliq::lidar
