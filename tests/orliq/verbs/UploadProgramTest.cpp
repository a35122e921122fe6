// SPDX-License-Identifier: Apache-2.0
// Runs fetch-params and live --params-from as a user's shell does, against a simulated sensor that
// answers on the loopback interface.
#include <cstring>
#include <string_view>

#include "orliq/clouds/LiveSource.h"
#include "orliq/verbs/params/UploadRemarks.h"
#include "param/ParamService.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/CheckImage.h"
#include "support/GentleSender.h"
#include "support/RunningProgram.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using sim::ReplyFault;
using test::JsonValue;
using testing::HasSubstr;
using Tables = std::vector<sim::CheckTable>;

Tables TablesOf(const std::string& model) {
  return sim::MakeSensor(model, {})->Tables();
}

class Uploading : public test::RunningProgram {
 protected:
  /// The sensor answers from now on, on the port that was chosen for it.
  void Serve(const Tables& tables, sim::ParamServerOptions options = {}) {
    server_.reset();
    std::error_code error;
    options.port = port_;
    server_ = sim::ParamServer::Create(options, sim::CheckImage(tables), error);
    ASSERT_NE(server_, nullptr) << error.message();
  }
  /// It sends the first 40 pieces and then no more.
  void ServeSome() {
    sim::ParamServerOptions options;
    options.restart_after = 40;
    options.down = std::chrono::hours(1);
    Serve(TablesOf("juniq"), options);
  }

  const std::uint16_t port_ = test::FreePort();
  const std::string from_ = "127.0.0.1:" + std::to_string(port_);
  const std::string fetch_ = "fetch-params " + from_ + " --model ";
  std::unique_ptr<sim::ParamServer> server_;
};

TEST_F(Uploading, GivesTheVeryFolderOfASensorWhoseRepliesGetLostAndDoubled) {
  const test::SimulatedCapture sensor(0, {}, "glavor");
  sim::ParamServerOptions options;
  options.rates[ReplyFault::kLost] = options.rates[ReplyFault::kWrongMarker] = 0.01;
  options.rates[ReplyFault::kDuplicated] = 0.05;
  Serve(TablesOf("glavor"), options);
  const JsonValue fetch = RunJson(fetch_ + "glavor --out x/room");
  EXPECT_TRUE(Same("x/room", sensor.check_folder));
  EXPECT_EQ(outcome_.err, "");
  EXPECT_EQ(fetch["tables_from"], from_);
  EXPECT_EQ(fetch["upload"]["received_bytes"], 393284);
  EXPECT_GE(fetch["upload"]["repeated"], server_->Counts().faults[ReplyFault::kLost]);
  EXPECT_GT(server_->Counts().faults[ReplyFault::kLost], 0);
  EXPECT_EQ(fetch["tables"][3]["max"], 1500.0);
}

/// Those of a Fennix need every table four times over.
TEST_F(Uploading, WritesWhatLoadsBackBitForBitOrSaysWhatDoesNot) {
  Tables tables = TablesOf("glavor");
  const std::uint32_t bits[] = {0x7FC12345, 0xFFFFFFFF, 0xFF800000, 0x80000001, 0x7F812345};
  std::memcpy(&tables[1].values[7], bits, sizeof bits);
  Serve(tables);
  const JsonValue fetch = RunJson(fetch_ + "fennix --out room", 5);
  EXPECT_EQ(fetch["differences"].Dump(), R"([{"first":11,"numbers":1,"table":"elevation"}])");
  EXPECT_THAT(outcome_.err, HasSubstr("1 number of the elevation table, the first at place 11"));
  EXPECT_EQ(fetch["tables"][1]["not_finite"], 4);
  lidar::ParamService service;
  ASSERT_TRUE(service.LoadCheckFolder(lidar::LidarType::Fennix, dir_ / "room"));
  const auto* const record = service.GetCheckParam(lidar::LidarType::Fennix);
  const auto bytes = [](const void* table) {
    return std::string_view(static_cast<const char*>(table), 196608);
  };
  const auto sent = bytes(tables[1].values.data());
  const auto loaded = bytes(reinterpret_cast<const char*>(record) + 1 + 196608);
  EXPECT_EQ(loaded.substr(0, 44), sent.substr(0, 44)) << "up to the one that signals";
  EXPECT_EQ(loaded.substr(48), sent.substr(48));
}

TEST_F(Uploading, SaysWhatToCheckWhenNoUsableReplyComes) {
  sim::ParamServerOptions foreign, cut;
  foreign.rates[ReplyFault::kWrongMarker] = 1.0;
  cut.rates[ReplyFault::kShort] = 1.0;
  const std::string asks = fetch_ + "juniq --out x/y --wait ", wait = asks + "1.5 ";
  const std::tuple<const sim::ParamServerOptions*, std::string, std::string> rows[] = {
      {nullptr, asks + "0 --time-limit 0.3", "no reply of " + from_ + " to "},
      {nullptr, asks + "0.3 --local-port " + std::to_string(test::FreePort()), "UDP port "},
      {&foreign, wait, "is " + std::to_string(port_) + " the sensor's port for its calibration?"},
      {&foreign, asks + "0 --lenient", "without --lenient those are asked for again"},
      {&cut, wait, "--lenient takes them as they come"},
      {&cut, wait + "--lenient", "too short for a reply, or announcing more"},
  };
  for (const auto& [faults, arguments, sentence] : rows) {
    if (faults != nullptr) Serve(TablesOf("juniq"), *faults);
    ExpectRefusal({arguments, 3, sentence});
    EXPECT_TRUE(dir_.Files().size() == 1 && !exists(dir_ / "x")) << arguments;  // err
  }
}

TEST_F(Uploading, TakesRepliesFromElsewhereWhenLenient) {
  const test::LoopbackSocket stranger;
  const std::uint16_t local = test::FreePort();
  const std::string reply = "ZZZZ" + std::string("\x24\0\0\0", 4) + std::string(28 + 4 + 3, 'A');
  Start(fetch_ + "juniq --out x --lenient --local-port " + std::to_string(local));
  while (!EndsWithin(std::chrono::milliseconds(20))) {
    stranger.Send(local, reply.data(), reply.size());
  }
  EXPECT_THAT(Finish().err, HasSubstr("holds 0 numbers behind the marker AAAA"));
}

TEST_F(Uploading, RefusesWhatMakesNoUsableFolder) {
  dir_.Write("dir.txt", "");
  std::filesystem::create_directories(dir_ / "dirs/azimuth.csv");
  std::filesystem::create_directory(dir_ / "old");
  dir_.Write("old/my_offset.txt", "1");
  Tables tables = TablesOf("juniq");
  tables.pop_back();
  tables[1].values.assign(49152, 0.1234567F);  // a longer text than the first one's
  Serve(tables);
  const test::Refusal rows[] = {
      {fetch_ + "corvik --out x", 2, "corvik takes no tables from its sensor"},
      {fetch_ + "juniq --out weight/x", 2, "the word \"weight\" in its path"},
      {fetch_ + "juniq --out dir.txt/x", 4, "cannot make the folder dir.txt/x"},
      {fetch_ + "juniq --out old", 4, "old holds my_offset.txt, which counts as a table"},
      {fetch_ + "juniq --out dirs --force", 4, "dirs/azimuth.csv is a folder"},
      {fetch_ + "juniq --out x", 4, "has no offset table (marker EEEE)"},
      {fetch_ + "juniq --out old --force", 4, "does not send every table of a juniq"},
  };
  for (const auto& row : rows) ExpectRefusal(row);
  const auto full = Run(fetch_ + "glavor --out x", "ulimit -f 850;");
  EXPECT_EQ(full.code, 4);
  EXPECT_THAT(full.err, HasSubstr("cannot write x/elevation.csv: File too large"));
  EXPECT_EQ(dir_.Files(), (std::set<std::string>{"dir.txt", "err", "old/my_offset.txt"}));
  EXPECT_FALSE(exists(dir_ / "x") || exists(dir_ / "weight"));
}

TEST_F(Uploading, ReplacesOtherTablesByForceButNothingBeforeAllHasCome) {
  std::filesystem::create_directory(dir_ / "x");
  const std::set<std::string> before = {"weight.csv", "offset (copy)", "notes"};
  for (const std::string& name : before) dir_.Write("x/" + name, "mine");
  const std::string command = fetch_ + "juniq --out x --force";
  Start(fetch_ + "juniq --out new --wait 0");
  ASSERT_TRUE(test::Eventually([&] { return exists(dir_ / "new"); }));
  dir_.Write("new/offset.csv", "of another fetch");
  Serve(TablesOf("juniq"));
  EXPECT_THAT(Finish().err, HasSubstr("new holds offset.csv, which counts as a table"));
  ServeSome();
  Start(command);
  ASSERT_TRUE(test::Eventually([&] { return server_->Counts().replies == 40; }));
  EXPECT_THAT(Finish(SIGINT).err, HasSubstr("interrupted; no file was written"));
  sim::ParamServerOptions options;
  options.rates[ReplyFault::kWrongMarker] = 0.02;
  Serve(TablesOf("juniq"), options);
  ExpectRefusal({command + " --wait 0 --lenient", 5, "what is missing stays missing"});
  ServeSome();
  ExpectRefusal({command + " --wait 2 --time-limit 40", 5, "brought any of it came 2"});
  EXPECT_EQ(dir_.Files("x"), before);
  EXPECT_EQ(dir_.Read("x/weight.csv"), "mine");
  Serve(TablesOf("juniq"));
  ASSERT_EQ(Run(command).code, 0);
  EXPECT_EQ(dir_.Files("x"), (std::set<std::string>{"azimuth.csv", "elevation.csv", "weight.csv",
                                                    "near_filter.csv", "offset.csv", "notes"}));
  EXPECT_THAT(Run(fetch_ + "glavor --out y").err, HasSubstr("a glavor take 393,284: is it"));
}

/// Four frames of a sensor, each of 768 packets.
const test::SimulatedCapture& Sensor() {
  static const test::SimulatedCapture sensor(4);
  return sensor;
}

class UploadingLive : public Uploading {
 protected:
  void Listen(const std::string& arguments) {
    Start("live --model juniq --params-from " + from_ + " --port " + std::to_string(packets_) +
          arguments);
    AwaitNote("listening on");
  }
  void AwaitNote(const std::string& words) const {
    ASSERT_TRUE(test::Eventually([&] { return HasNoted(words); })) << dir_.Read("err");
  }
  void Send(std::ptrdiff_t from, std::ptrdiff_t to) const {
    const auto begin = Sensor().packets.begin();
    ASSERT_TRUE(test::SendAll({begin + from, begin + to}, packets_));
  }

  const std::uint16_t packets_ = test::FreePort();
};

TEST_F(UploadingLive, WritesOnlyFramesThatWereDecodedWithTheSensorsTables) {
  RunJson("play " + Sensor().capture +
          " --model juniq --format csv --out all --frames 2:3 --check-folder " +
          Sensor().check_folder);
  Listen(" --frames 1 --partial --format csv --out live --json");
  Send(0, 768 + 300);
  Serve(TablesOf("juniq"));
  AwaitNote("uses the sensor's tables from packet 1,069 on, ");
  Send(768 + 300, 2304);
  const auto live = Finish();
  ASSERT_EQ(live.code, 0) << live.err;
  EXPECT_TRUE(Same("live", "all"));
  const JsonValue sums = JsonValue::Parse(live.out);
  EXPECT_EQ(sums["frames"], 1);
  EXPECT_EQ(sums["frames_before_tables"], 2);
  EXPECT_EQ(sums["upload"]["decoded_before_use"], 768 + 300);
}

TEST_F(UploadingLive, CountsFramesWithAllTablesOnlyAndEndsWhenOneIsMissing) {
  sim::ParamServerOptions options;
  options.rates[ReplyFault::kWrongMarker] = 0.01;
  lidar::DriverParam param;
  param.lidar_type = lidar::LidarType::Juniq;
  param.input_param = {"127.0.0.1", packets_, ""};
  param.param_source = 1;
  param.calibration_param = MakeCalibrationParam({{"", "127.0.0.1", port_}});
  for (const bool all : {true, false}) {
    Serve(TablesOf(all ? "juniq" : "glavor"), options);
    const auto source = MakeLiveSource("point", {{}, true, ""}, nullptr, nullptr);
    ASSERT_TRUE(source->Open(param));
    ASSERT_TRUE(test::Eventually([&] { return source->Calibration().loaded; }));
    Send(0, 1536);
    const auto both = [&](auto sums) { return sums.frames.count + sums.frames_before_tables == 2; };
    ASSERT_TRUE(test::Eventually([&] { return both(source->Counts()); }));
    EXPECT_EQ(source->Counts().frames.count, all ? 2 : 0);
  }
  const std::string live = "live --model juniq --port " + std::to_string(packets_);
  ExpectRefusal({live + " --params-from " + from_, 4, "no offset table (marker EEEE)"});
}

TEST_F(UploadingLive, SaysWhyTheTablesNeverCame) {
  Listen("");
  Send(0, 10);
  AwaitNote("for its calibration. Check that");  // after 5 s
  ServeSome();
  AwaitNote(" s, with 40,000 of 589,896 bytes (6 %) of it here");  // likewise
  const auto half = Finish(SIGINT);
  EXPECT_EQ(half.code, 5);
  EXPECT_THAT(half.err, HasSubstr("only 40,000 of 589,896 bytes (6 %) of the calibration came"));
  sim::ParamServerOptions options;
  options.rates[ReplyFault::kWrongMarker] = 1.0;
  Serve(TablesOf("juniq"), options);
  Listen(" --lenient");
  AwaitNote("cannot get complete any more. There came");
  Finish(SIGINT);
  const std::string from = " --port 2368 --wait 0.1 --params-from ", juniq = "live --model juniq";
  ExpectRefusal({juniq + from + from_ + " --params-local-port 2368", 2, "must differ from --port"});
  ExpectRefusal({juniq + from + "''", 2, "write an address, a colon"});
  ExpectRefusal({"live --model corvik" + from + from_, 3, "needs no calibration: --params-from"});
}

}  // namespace
}  // namespace orliq::cli
