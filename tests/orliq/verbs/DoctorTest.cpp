// SPDX-License-Identifier: Apache-2.0
// Runs doctor as a user's shell does, with a simulated sensor on the loopback interface.
#include <sstream>

#include "orliq/network/PacketLook.h"
#include "orliq/terminal/WrappedText.h"
#include "support/Loopback.h"
#include "support/Program.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;

class Doctor : public test::Program {
 protected:
  /// Examines for two seconds, to end with that code, while the sensor sends a Kelvane's packets.
  nlohmann::json Examine(const std::string& sensor, const std::string& options, int code) {
    const std::string port = std::to_string(test::FreePort());
    const auto outcome = Run("doctor --json --seconds 2 --port " + port + options,
                             "('" ORLIQ_PROGRAM
                             "' simulate --frames 8 --rate 2 --quiet --to "
                             "127.0.0.1:" +
                                 port + sensor + " >sent 2>&1 & echo $! >pid) ; ");
    Signal(SIGTERM);  // or it would go on to a port that another test may get
    EXPECT_EQ(outcome.code, code) << outcome.out << outcome.err;
    return nlohmann::json::parse(outcome.out, nullptr, false);
  }

  static std::set<std::string> Problems(const nlohmann::json& report) {
    std::set<std::string> kinds;
    for (const auto& finding : report["sensors"][0]["findings"]) {
      if (finding["severity"] == "problem") kinds.insert(finding["kind"]);
    }
    return kinds;
  }

  using Kinds = std::set<std::string>;
};

TEST_F(Doctor, FindsNothingWrongWithAHealthySensorAndTellsItsModel) {
  const auto report = Examine(" --model kelvane", "", 0);
  EXPECT_EQ(report["problems"], 0);
  EXPECT_EQ(report["sensors"][0]["model"], nullptr);
  EXPECT_EQ(report["sensors"][0]["decoded_as"], "kelvane");
  EXPECT_GT(report["sensors"][0]["packets_decoded"], 100);
}

TEST_F(Doctor, FindsLossOnTheWayAndTheWrongModel) {
  EXPECT_THAT(Problems(Examine(" --model kelvane --drop 0.1", " --model kelvane", 5)),
              testing::Contains("sequence_gaps"));
  EXPECT_EQ(Problems(Examine(" --model kelvane", " --model corvik", 3)), Kinds{"wrong_model"});
}

TEST_F(Doctor, NamesTheProgramThatHoldsThePortInLinesOf80Columns) {
  const test::LoopbackSocket holder(INADDR_ANY);
  const auto outcome = Run("doctor --seconds 0.5 --port " + std::to_string(holder.port()));
  EXPECT_EQ(outcome.code, 4) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("problem  another program holds UDP port"));
  EXPECT_THAT(outcome.out, HasSubstr("(process " + std::to_string(::getpid()) + ") on every"));
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(line.size() <= 80 || line.find("sudo") != std::string::npos) << line;
  }
}

TEST_F(Doctor, RefusesOptionsThatMakeNoSense) {
  ExpectRefusal({"doctor", 2, "name one sensor with --port"});
  ExpectRefusal({"doctor --config x --port 1", 2, "--port describes one sensor"});
  ExpectRefusal({"doctor --port 2368 --seconds 0.4", 2, "must be from 0.5"});
}

TEST(PacketLook, SeesWhatGoesToAPortOfAnotherProgram) {
  const auto look = BeginPacketLook();
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);  // 127.0.0.2
  const test::LoopbackSocket sender(INADDR_LOOPBACK + 2);
  const std::vector<std::uint8_t> payload(1206, 7);
  const sockaddr_in to = [&] {
    sockaddr_in address = test::LoopbackSocket::Address(other.port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
    return address;
  }();
  for (int i = 0; i < 5; ++i) sender.SendTo(to, payload.data(), payload.size());
  const SeenPackets seen = look->Finish();
  if (!seen.Looked()) GTEST_SKIP() << "not looked at: " << seen.why_not;
  for (std::size_t i = 0; i < seen.flows.size(); ++i) {
    const Flow& flow = seen.flows[i];
    if (flow.source_port != sender.port()) continue;
    EXPECT_EQ(seen.interfaces[i], "lo");
    EXPECT_EQ(Endpoint(flow.destination, flow.port), "127.0.0.2:" + std::to_string(other.port()));
    EXPECT_EQ(flow.packets, 5U);
    EXPECT_EQ(flow.sizes.begin()->first, 1206U) << "of the datagram, not of what was kept of it";
    EXPECT_FALSE(flow.hindrance);
    return;
  }
  ADD_FAILURE() << "not seen";
}

TEST(WrappedText, BreaksAtBlanksUnderTheTextAndLeavesLongWordsWhole) {
  EXPECT_EQ(Wrapped("do: ", "one two", 11), "do: one two\n");
  EXPECT_EQ(Wrapped("do: ", "one two", 10), "do: one\n    two\n");
  EXPECT_EQ(Wrapped("do: ", "a\n  b ccccc", 10), "do: a\n      b\n        ccccc\n");
  EXPECT_EQ(Wrapped("", "longer-than-ten x", 10), "longer-than-ten\nx\n");
}

}  // namespace
}  // namespace orliq::cli
