// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Json.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace orliq::cli {
namespace {

TEST(Json, IsWrittenAsItWasBuilt) {
  Json json = {{"z", 1}, {"a", {{"min", -0.5F}, {"max", 2U}}}, {"none", nullptr}};
  json["list"] = {1, 2, 3};
  json["words"] = {"one", "two", "three"};
  json["a"] = true;  // in its old place
  json["files"] = std::vector<std::string>{"x", "y"};
  json["empty"] = std::vector<std::string>();
  json["new"]["inner"] = Json::Array();
  EXPECT_EQ(json.Text(),
            R"({"z":1,"a":true,"none":null,"list":[1,2,3],"words":["one","two","three"],)"
            R"("files":["x","y"],"empty":[],"new":{"inner":[]}})");
  Json more = {{"a", 9}, {"last", Json::Object()}};
  more.Update({{"a", 7}, {"z", "end"}});
  EXPECT_EQ(more.IndentedText(1), "{\n \"a\": 7,\n \"last\": {},\n \"z\": \"end\"\n}");
  EXPECT_EQ(Json({{"pair", 1}, {"three", 2, 3}}).Text(), R"([["pair",1],["three",2,3]])");
  EXPECT_EQ(Json({{1, 2}, {3, 4}}).Text(), "[[1,2],[3,4]]");
  static_assert(!std::is_constructible_v<Json, const int*>, "it would be true");
}

TEST(Json, LosesNoDigitAndNoTextThatIsNone) {
  Json list = Json::Array();
  list.Add(std::numeric_limits<std::uint64_t>::max());
  list.Add(std::numeric_limits<std::int64_t>::min());
  list.Add(4294967295U);
  list.Add(0.1);
  list.Add(std::numeric_limits<double>::quiet_NaN());
  list.Add("\xFFx\n");
  EXPECT_EQ(list.Size(), 6U);
  EXPECT_EQ(list.Text(),
            "[18446744073709551615,-9223372036854775808,4294967295,0.1,null,"
            "\"\xEF\xBF\xBDx\\n\"]");
}

}  // namespace
}  // namespace orliq::cli
