// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "multi_driver/SensorModels.h"
#include "param/CheckImage.h"
#include "param/ParamService.h"
#include "support/CheckImageBytes.h"

namespace orliq::lidar {
namespace {

using test::Bytes;
using test::Piece;
using test::PutWord;
using test::Reply;
using test::operator+;  // NOLINT(misc-unused-using-decls): the check overlooks operators

constexpr std::size_t kTable = 196608;  // [bytes]
constexpr std::uint32_t kLargest = 64U << 20U;

struct Pushed {
  int next;
  bool last = false;
  bool done = false;
};

/// From memory that ends with the reply, for the address sanitizer.
Pushed Push(ParamService& service, const Bytes& reply, LidarType type = LidarType::Juniq) {
  const std::vector<signed char> exact(reply.begin(), reply.end());
  Pushed pushed{};
  pushed.next = service.PushData(type, exact.data(), static_cast<int>(exact.size()), pushed.last,
                                 pushed.done);
  return pushed;
}

TEST(PushData, TellsWhatToAskForNext) {
  ParamService service;
  const Bytes thousand(1000, 1);
  EXPECT_THAT(Push(service, Reply(2532, thousand)), testing::FieldsAre(1000, false, false));
  EXPECT_EQ(service.TotalSize(), 2500);
  EXPECT_THAT(Push(service, Reply(99, thousand)), testing::FieldsAre(500, true, false))
      << "only the first reply tells the size";
  EXPECT_TRUE(service.UploadedTables().empty());
  EXPECT_THAT(Push(service, Reply(2532, Bytes(500))), testing::FieldsAre(0, false, true));
  EXPECT_EQ(service.UploadedTables().size(), 5U);
  EXPECT_THAT(Push(service, Reply(2532, thousand)), testing::FieldsAre(0, false, true));
  EXPECT_EQ(service.ReceivedSize(), 2500) << "a complete image does not grow";

  ParamService equal;
  EXPECT_THAT(Push(equal, Reply(2032, thousand)), testing::FieldsAre(1000, true, false));
}

TEST(PushData, RefusesWhatIsNoReplyAndChangesNothing) {
  Bytes wrong_last_letter = Reply(2532, Bytes(1000));
  wrong_last_letter[3] = 'z';
  std::vector<std::pair<Bytes, ReplyFault>> rows = {
      {wrong_last_letter, ReplyFault::Marker},
      {Reply(kLargest + 33, Bytes(1000)), ReplyFault::Total},
      {Reply(0x7FFFFFFF, Bytes(1000)), ReplyFault::Total}};
  for (std::size_t length = 0; length < 39; ++length) {
    rows.emplace_back(Bytes(length, 'Z'), ReplyFault::Short);
  }
  ParamService service;
  for (const auto& [reply, fault] : rows) {
    testing::internal::CaptureStdout();
    EXPECT_THAT(Push(service, reply), testing::FieldsAre(-1, false, false)) << reply.size();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "data is erorr!\n");
    EXPECT_EQ(service.LastReplyFault(), fault) << reply.size();
    EXPECT_TRUE(service.TotalSize() == 0 && service.ReceivedSize() == 0);
  }
  EXPECT_THAT(Push(service, Reply(2532, {})), testing::FieldsAre(0, false, false))
      << "39 bytes are a reply";
  EXPECT_EQ(service.LastReplyFault(), ReplyFault::None);
  EXPECT_EQ(Push(service, Reply(0xFFFFFFF, Bytes(1000))).next, 1000) << "the size is known by now";
}

TEST(PushData, ASizeOfNothingOrLessIsCompleteAtOnce) {
  for (const std::uint32_t total : {0U, 31U, 32U, 0x80000000U, 0xFFFFFFFFU}) {
    ParamService service;
    EXPECT_TRUE(Push(service, Reply(total, Piece("DDDD", 36) + Piece("CCCC", 16))).done) << total;
    for (const TableUpload& table : service.UploadedTables()) {
      EXPECT_EQ(table.Accepted(), table.table == "near_filter") << total << " ends before CCCC";
    }
    Push(service, Reply(total, Bytes(1000)));
    EXPECT_EQ(service.ReceivedSize(), 60) << total;
  }
  ParamService empty;
  EXPECT_TRUE(Push(empty, Reply(32, {})).done);
  Push(empty, Reply(2532, Bytes(1000)));
  EXPECT_TRUE(empty.ReceivedSize() == 0 && empty.TotalSize() == 0) << "complete, with no byte";
  ParamService one;
  EXPECT_FALSE(Push(one, Reply(33, {})).done);
  ParamService largest;
  EXPECT_EQ(Push(largest, Reply(kLargest + 32, Bytes(10))).next, 10);
}

TEST(PushData, CutsTheImageAtItsMarkers) {
  const Bytes a = Piece("AAAA", kTable);
  const Bytes b = Piece("BBBB", kTable);
  const Bytes c = Piece("CCCC", 16);
  const Bytes d = Piece("DDDD", 36);
  const Bytes e = Piece("EEEE", kTable);
  const Bytes two(2, 0xFF);
  const struct {
    const char* why;
    LidarType type;
    Bytes image;
    const char* tables;        // that are taken
    std::uint32_t excess = 0;  // sent beyond the size told
  } rows[] = {
      {"all of Juniq", LidarType::Juniq, a + b + c + d + e, "ABCDE"},
      {"any order", LidarType::Juniq, e + d + b + a + c, "ABCDE"},
      {"no multiple of four", LidarType::Juniq, b + c + d + two + a + two, "BCD"},
      {"the image ends within a word", LidarType::Juniq, c + d + two, "CD"},
      {"a marker cut short", LidarType::Juniq, c + d + Bytes{'A', 'A', 'A'}, "CD"},
      {"one byte less than a table", LidarType::Juniq, a + c + d + Piece("BBBB", kTable - 1),
       "ACD"},
      {"more than was told", LidarType::Juniq, c + d + e, "CD", 1},
      {"a marker beyond what was told", LidarType::Juniq, c + d + e, "CD", kTable + 4},
      {"the first of two", LidarType::Glavor, c + d + Piece("CCCC", 4), "CD"},
      {"more numbers than the table", LidarType::Glavor, d + two + two + a + c, "ACD"},
      {"no offsets", LidarType::Glavor, a + b + c + d + e, "ABCD"},
      {"Fennix needs them once", LidarType::Fennix, a + b + c + d, "ABCD"},
      {"Hestra takes none", LidarType::Hestra, a + b + c + d, ""},
      {"nor does Corvik", LidarType::Corvik, a + b + c + d + e, ""},
      {"Kelvane has no record", LidarType::Kelvane, a, ""},
  };
  for (const auto& row : rows) {
    ParamService service;
    testing::internal::CaptureStdout();
    const auto total = static_cast<std::uint32_t>(row.image.size()) - row.excess + 32;
    EXPECT_TRUE(Push(service, Reply(total, row.image), row.type).done) << row.why;
    std::string lines;
    std::string taken;
    for (const TableUpload& table : service.UploadedTables()) {
      if (!table.Accepted()) continue;
      taken += table.marker[0];
      lines += "find " + table.marker + '\n';
    }
    EXPECT_EQ(taken, row.tables) << row.why;
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_THAT(printed, testing::EndsWith(row.type == LidarType::Juniq ? lines : "")) << row.why;
    EXPECT_EQ(printed.rfind("check_buffers size:", 0) == 0, row.type == LidarType::Juniq);

    // Tables stand one behind the other from byte 1 of the record on, zero where none was taken.
    Bytes record(1);
    for (const Bytes* table : {&a, &b, &c, &d, &e}) {
      const bool is_taken = taken.find(static_cast<char>(table->front())) != std::string::npos;
      record =
          record + (is_taken ? Bytes(table->begin() + 4, table->end()) : Bytes(table->size() - 4));
    }
    if (service.GetCheckParam(row.type) == nullptr) continue;
    if (row.type == LidarType::Corvik) record.resize(1);
    if (row.type != LidarType::Juniq && record.size() > 1) record.resize(393269);
    EXPECT_EQ(std::memcmp(service.GetCheckParam(row.type), record.data(), record.size()), 0)
        << row.why;
  }
  EXPECT_THAT(GetFlags(LidarType::Brantis), testing::ElementsAre("AAAA"));
  EXPECT_TRUE(GetFlags(LidarType::Hestra).size() == 4 && GetFlags(LidarType::Corvik).size() == 5);
}

TEST(PushData, NoSequenceOfRepliesGrowsTheImageBeyondItsSize) {
  constexpr std::size_t kLongest = 2048;
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    ParamService service;
    const auto& model = SensorModels()[random() % kSensorModels];
    const auto total =
        static_cast<std::uint32_t>(random() % (random() % 3 == 0 ? 1UL << 32U : 9000));
    for (int i = 0; i < 12; ++i) {
      // Letters only, so that markers come up everywhere.
      Bytes reply(random() % kLongest);
      for (auto& byte : reply) byte = "ABCDEZ"[random() % 6 * (random() % 2)];
      if (reply.size() >= 8) PutWord(reply, 4, total);
      for (std::size_t at = 0; at < std::min<std::size_t>(4, reply.size()); ++at) reply[at] = 'Z';
      Push(service, reply, model.type);
      ASSERT_LE(service.ReceivedSize(), std::max(service.TotalSize(), 0) + int{kLongest});
    }
  }
}

}  // namespace
}  // namespace orliq::lidar
