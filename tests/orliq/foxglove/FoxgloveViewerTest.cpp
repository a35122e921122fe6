// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveViewer.h"

#include <gmock/gmock.h>

#include <vector>

namespace orliq::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

TEST(FoxgloveRequest, TakesWhatIsSoundAndComplainsOfTheRest) {
  using Pairs = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
  const struct {
    const char* text;
    Pairs subscribe;
    std::vector<std::uint32_t> unsubscribe;
    const char* complaint;  // null: none
  } rows[] = {
      {R"({"op":"subscribe","subscriptions":[{"id":0,"channelId":3},{"id":4294967295,"channelId":1}]})",
       {{0, 3}, {4294967295, 1}},
       {},
       nullptr},
      {R"({"op":"unsubscribe","subscriptionIds":[0,4294967295]})", {}, {0, 4294967295}, nullptr},
      {R"({"op":"subscribe","subscriptions":[]})", {}, {}, nullptr},
      {R"({"op":"subscribe","subscriptions":[{"id":4294967296,"channelId":1},{"id":2,"channelId":1}]})",
       {{2, 1}},
       {},
       "from 0 to 4294967295"},
      {R"({"op":"subscribe","subscriptions":[{"id":1,"channelId":4294967296}]})", {}, {}, "from 0"},
      {R"({"op":"subscribe","subscriptions":[{"id":-1,"channelId":1}]})", {}, {}, "from 0"},
      {R"({"op":"subscribe","subscriptions":[{"id":1.5,"channelId":1}]})", {}, {}, "from 0"},
      {R"({"op":"subscribe","subscriptions":[{"id":"1","channelId":1},7,null,[]]})",
       {},
       {},
       "from 0"},
      {R"({"op":"subscribe","subscriptions":[{"id":1}]})", {}, {}, "from 0"},
      {R"({"op":"subscribe","subscriptions":{"id":1,"channelId":1}})", {}, {}, "must be a list"},
      {R"({"op":"subscribe"})", {}, {}, "subscriptions must be a list"},
      {R"({"op":"unsubscribe","subscriptionIds":[5,-1,{}]})",
       {},
       {5},
       "subscriptionIds are from 0"},
      {R"({"op":"unsubscribe","subscriptionIds":5})", {}, {}, "subscriptionIds must be a list"},
      {R"({"op":"getParameters","parameterNames":[]})", {}, {}, "getParameters is not offered"},
      {R"({"op":"advertise","channels":[]})", {}, {}, "advertise is not offered"},
      {R"({"op":"dance"})", {}, {}, "there is no op dance"},
      {R"({"op":1})", {}, {}, "a JSON object with an op"},
      {R"([{"op":"subscribe"}])", {}, {}, "a JSON object with an op"},
      {"{\"op\":\"subscribe\"", {}, {}, "a JSON object with an op"},
      {"", {}, {}, "a JSON object with an op"}};
  for (const auto& row : rows) {
    const FoxgloveRequest request = ParseFoxgloveRequest(row.text);
    Pairs subscribe;
    for (const auto& wanted : request.subscribe) subscribe.emplace_back(wanted.id, wanted.channel);
    EXPECT_EQ(subscribe, row.subscribe) << row.text;
    EXPECT_EQ(request.unsubscribe, row.unsubscribe) << row.text;
    ASSERT_THAT(request.complaints, SizeIs(row.complaint == nullptr ? 0 : 1)) << row.text;
    if (row.complaint == nullptr) continue;
    EXPECT_THAT(request.complaints[0].message, HasSubstr(row.complaint)) << row.text;
    EXPECT_EQ(request.complaints[0].level, FoxgloveLevel::kError) << row.text;
  }
  const auto long_op = ParseFoxgloveRequest(R"({"op":")" + std::string(60000, 'x') + "\"}");
  EXPECT_LT(long_op.complaints.at(0).message.size(), 100);
}

class FoxgloveViewerQueues : public testing::Test {
 protected:
  bool Offer(std::uint32_t channel, const std::string& text, std::size_t room) {
    gone_ = nullptr;
    const auto cdr = std::make_shared<const std::string>(text);
    return viewer_.Offer(channel, {++number_, number_, cdr}, room, gone_);
  }

  /// All that waits: texts as they are, "ID:MESSAGE".
  std::vector<std::string> Drain() {
    std::vector<std::string> all;
    while (const auto next = viewer_.Next()) {
      all.push_back(next->binary ? std::to_string(next->head.at(1)) + ':' + *next->body
                                 : next->head);
    }
    return all;
  }

  FoxgloveViewer viewer_;
  std::shared_ptr<const std::string> gone_;
  std::uint64_t number_ = 0;
};

TEST_F(FoxgloveViewerQueues, KeepsTheNewestOfEachChannelAndSendsTheOldestOfThemFirst) {
  EXPECT_FALSE(viewer_.Subscribe(10, 1) || viewer_.Subscribe(20, 2) || viewer_.Subscribe(30, 3));
  EXPECT_FALSE(Offer(4, "nobody's", 1));
  for (const char* const text : {"a", "b", "c"}) EXPECT_TRUE(Offer(2, text, 2));
  ASSERT_NE(gone_, nullptr);
  EXPECT_EQ(*gone_, "a");
  EXPECT_TRUE(Offer(3, "cloud", 1));
  EXPECT_EQ(gone_, nullptr);
  EXPECT_TRUE(Offer(1, "x", 1) && Offer(3, "newer cloud", 1));
  ASSERT_NE(gone_, nullptr);
  EXPECT_EQ(*gone_, "cloud");
  viewer_.Tell("text");
  EXPECT_THAT(Drain(), ElementsAre("text", "20:b", "20:c", "10:x", "30:newer cloud"));
  EXPECT_EQ(viewer_.Sent(), 4);
  EXPECT_EQ(viewer_.LeftOut(), 2);
}

TEST_F(FoxgloveViewerQueues, HasOneSubscriptionOfAChannelAndOneOfAnId) {
  EXPECT_EQ(viewer_.Subscribe(7, 1), std::nullopt);
  const auto same_id = viewer_.Subscribe(7, 2);
  ASSERT_TRUE(same_id);
  EXPECT_EQ(same_id->level, FoxgloveLevel::kError);
  EXPECT_THAT(same_id->message, HasSubstr("subscription id 7 is in use"));
  EXPECT_FALSE(Offer(2, "x", 1)) << "it was ignored";
  const auto same_channel = viewer_.Subscribe(8, 1);
  ASSERT_TRUE(same_channel);
  EXPECT_EQ(same_channel->level, FoxgloveLevel::kWarning);
  EXPECT_THAT(same_channel->message, HasSubstr("channel 1 is subscribed to already"));
  EXPECT_THAT(viewer_.Unsubscribe(8).value_or(FoxgloveStatus{}).message,
              HasSubstr("no subscription 8"));
  EXPECT_TRUE(Offer(1, "waits", 1));
  EXPECT_EQ(viewer_.Unsubscribe(7), std::nullopt);
  EXPECT_FALSE(Offer(1, "later", 1));
  EXPECT_THAT(Drain(), ElementsAre()) << "nor what waited";
  EXPECT_EQ(viewer_.Subscribe(7, 2), std::nullopt) << "the id is free again";
}

TEST_F(FoxgloveViewerQueues, HasOnlySoManyTextsWaiting) {
  for (int i = 0; i < 1000; ++i) viewer_.Tell({FoxgloveLevel::kError, std::to_string(i)});
  viewer_.Tell("the last");
  const auto texts = Drain();
  ASSERT_THAT(texts, SizeIs(FoxgloveViewer::kTexts));
  EXPECT_EQ(texts.back(), R"({"op":"status","level":2,"message":"31"})");
  viewer_.Tell("room again");
  EXPECT_THAT(Drain(), ElementsAre("room again"));
}

}  // namespace
}  // namespace orliq::cli
