// SPDX-License-Identifier: Apache-2.0
// Runs doctor as a user's shell does, with a simulated sensor on the loopback interface.
#include <sstream>

#include "orliq/network/PacketLook.h"
#include "orliq/terminal/WrappedText.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/CheckImage.h"
#include "support/GentleSender.h"
#include "support/RunningProgram.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;

class Doctor : public test::RunningProgram {
 protected:
  /// Examines a Kelvane that sends 480 packets meanwhile, less every `lost`th, from 300 before a frame
  /// ends on, as soon as somebody listens.
  test::Outcome Listen(const std::string& options, int seconds, std::size_t lost) {
    static const auto packets = test::SimulatedCapture(2, {}, "kelvane").packets;
    const std::uint16_t port = test::FreePort();
    Start("doctor --json --seconds " + std::to_string(seconds) + " --port " + std::to_string(port) +
          options);
    EXPECT_TRUE(test::Eventually([&] { return test::BytesWaiting(port) >= 0; }));
    auto due = std::chrono::steady_clock::now();
    for (std::size_t i = packets.size() / 2 - 300; i < packets.size(); ++i) {
      if (lost == 0 || i % lost != 0) sensor_.Send(port, packets[i].data(), packets[i].size());
      due += std::chrono::microseconds(1000000) * seconds / 480;
      if (EndsWithin(due - std::chrono::steady_clock::now())) break;
    }
    return Finish();
  }

  /// The report, which is to end with that code. A machine that is too busy for two seconds gets twenty.
  JsonValue Examine(const std::string& options, int code, std::size_t lost = 0) {
    auto outcome = Listen(options, 2, lost);
    if (outcome.code != code) outcome = Listen(options, 20, lost);
    EXPECT_EQ(outcome.code, code) << outcome.out << outcome.err;
    return JsonValue::Parse(outcome.out);
  }

  /// What it finds in the calibration of each, with more time when that was too short for an upload.
  std::string Judge(const std::string& options) {
    std::string all;
    for (const char* const seconds : {"0.5", "4", "30"}) {
      const auto report = RunJson("doctor " + options + " --seconds " + seconds, 3);
      all.clear();
      for (const JsonValue& sensor : report["sensors"].Elements()) {
        for (const JsonValue& finding : sensor["findings"].Elements()) {
          const auto line = finding["kind"].Text() + ": " + finding["text"].Text() + '\n';
          if (line.find("calibration") == 0 || line.find("upload") == 0) all += line;
        }
      }
      if (all.find("upload_unfinished") == std::string::npos) break;
    }
    return all;
  }

  /// A sensor that hands out the tables of that model.
  static auto Serve(const char* model, const sim::ReplyFaultRates& faults = {}) {
    sim::ParamServerOptions options;
    options.port = test::FreePort();
    options.rates = faults;
    const auto image = sim::CheckImage(sim::MakeSensor(model, {})->Tables());
    std::error_code error;
    return sim::ParamServer::Create(options, image, error);
  }

  static std::set<std::string> Problems(const JsonValue& report) {
    std::set<std::string> kinds;
    for (const JsonValue& finding : report["sensors"][0]["findings"].Elements()) {
      if (finding["severity"] == "problem") kinds.insert(finding["kind"].Text());
    }
    return kinds;
  }

  using Kinds = std::set<std::string>;
  const test::LoopbackSocket sensor_;
};

TEST_F(Doctor, FindsNothingWrongWithAHealthySensorAndTellsItsModel) {
  const auto report = Examine("", 0);
  EXPECT_EQ(report["problems"], 0);
  EXPECT_EQ(report["sensors"][0]["model"], nullptr);
  EXPECT_EQ(report["sensors"][0]["decoded_as"], "kelvane");
  EXPECT_GT(report["sensors"][0]["packets_decoded"], 100);
}

TEST_F(Doctor, FindsLossOnTheWayAndTheWrongModel) {
  EXPECT_THAT(Problems(Examine(" --model kelvane", 5, 10)), testing::Contains("sequence_gaps"));
  EXPECT_EQ(Problems(Examine(" --model corvik", 3)), Kinds{"wrong_model"});
}

#ifdef ORLIQ_HAS_YAML
TEST_F(Doctor, JudgesTheCalibrationOfEverySensor) {
  const test::SimulatedCapture juniq(0), glavor(0, {}, "glavor");
  for (auto copy : {"short", "odd"}) std::filesystem::copy(juniq.check_folder, dir_ / copy);
  std::filesystem::remove(dir_ / "short/azimuth.csv");
  dir_.Write("odd/near_filter.csv", "0,0,0,0,0.5,0.5,2,0,0\n");
  const auto good = Serve("juniq"), wrong = Serve("glavor");
  ASSERT_TRUE(good != nullptr && wrong != nullptr);
  const auto from = [](int port) { return "params_from: 127.0.0.1:" + std::to_string(port); };
  const std::pair<std::string, std::string> rows[] = {
      {"check_folder: " + juniq.check_folder, "calibration: the check folder gives juniq each"},
      {"check_folder: " + glavor.check_folder, "calibration_unusable: .*for the offset table"},
      {"check_folder: short", "calibration_unusable: .*for the azimuth table"},
      {"check_folder: odd", "calibration_doubtful: "},
      {from(good->Port()), "calibration: decoding uses the sensor's tables"},
      {from(wrong->Port()), "upload_refused: .*has no offset table"},
      {from(sensor_.port()), "upload_silent: "},
  };
  std::string file = "defaults: {model: juniq, address: 127.0.0.1}\nsensors:\n", words;
  for (const auto& [calibration, expected] : rows) {
    const std::string port = std::to_string(test::FreePort());
    file += "  - {name: of" + port + ", port: " + port + ", " + calibration + "}\n";
    words += expected + ".*\n";
  }
  EXPECT_THAT(Judge("--config " + dir_.Write("all.yaml", file)), testing::MatchesRegex(words));
  const std::string one = "--model juniq --port " + std::to_string(test::FreePort());
  EXPECT_THAT(Judge(one + " --check-folder short"), HasSubstr("for the azimuth table"));
  while (sensor_.Receive({})) continue;
  EXPECT_THAT(Judge(one + " --params-from " + from(sensor_.port()).substr(13)),
              testing::StartsWith("upload_silent: "));
  EXPECT_TRUE(sensor_.Receive({})) << "nothing was asked of it";
}
#endif

TEST_F(Doctor, AsksOnlyOnceForWhatALenientOneTakesAsItComes) {
  sim::ReplyFaultRates faults;
  faults[sim::ReplyFault::kWrongMarker] = 1.0;
  const auto sensor = Serve("juniq", faults);
  const auto outcome = Run("doctor --json --seconds 2 --model juniq --lenient --port " +
                           std::to_string(test::FreePort()) +
                           " --params-from 127.0.0.1:" + std::to_string(sensor->Port()));
  // One that asked again for each would still be with the first 16.
  EXPECT_THAT(outcome.out, testing::ContainsRegex("[0-9][0-9][0-9] datagrams with a wrong marker"));
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
  EXPECT_THAT(Run("doctor --help").out, HasSubstr("--seconds FLOAT=5 "));
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
    if (flow.source_port != sender.port() || flow.port != other.port()) continue;
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
