// SPDX-License-Identifier: Apache-2.0
// Live sensors of a file, fused: by the parts of the program, and as a user's shell runs it.
#include "orliq/clouds/CloudWriter.h"
#include "orliq/verbs/live/FusedSource.h"
#include "orliq/verbs/live/FusedTally.h"
#include "orliq/verbs/live/LiveTally.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/CheckImage.h"
#include "support/GentleSender.h"
#include "support/RunningProgram.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;

/// Where the frames of a capture end: a Juniq's has 768 packets; a Corvik's, of 56, ends with the
/// mark that begins the next.
struct Sensor {
  test::SimulatedCapture capture;
  std::ptrdiff_t frame, first;
  std::uint16_t port = test::FreePort();

  /// Sends the packets of a frame, as play counts them.
  void Send(std::ptrdiff_t index) const {
    const auto begin = capture.packets.begin();
    const auto end = begin + first + index * frame;
    ASSERT_TRUE(test::SendAll({index == 0 ? begin : end - frame, end}, port));
  }
};

const Sensor& Front() {
  static const Sensor sensor = {test::SimulatedCapture(5), 768, 768};
  return sensor;
}

const Sensor& Rear() {
  static const Sensor sensor = {test::SimulatedCapture(6, {}, "corvik"), 56, 57};
  return sensor;
}

class FusedLive : public test::RunningProgram {
 protected:
  /// A file of the two; the front one's calibration comes from that.
  std::string Describe(const std::string& calibration) const {
    return dir_.Write("sensors.yaml",
                      "defaults: {address: 127.0.0.1, model: juniq}\nsensors:\n" +
                          Line("front", Front(), calibration) +
                          Line("rear", Rear(), "model: corvik, extrinsics: {x: 5}"));
  }
  /// A file whose front sensor is asked for its calibration, and what answers in its place.
  SensorFile Asking() const {
    return ReadSensorFile(Describe("params_from: 127.0.0.1:" + std::to_string(asked_)));
  }
  auto Serve(const sim::ReplyFaultRates& faults = {}) const {
    sim::ParamServerOptions options;
    options.port = asked_;
    options.rates = faults;
    std::error_code error;
    return sim::ParamServer::Create(options,
                                    sim::CheckImage(sim::MakeSensor("juniq", {})->Tables()), error);
  }
  static std::string Line(const std::string& name, const Sensor& sensor, const std::string& more) {
    return "  - {name: " + name + ", port: " + std::to_string(sensor.port) + ", " + more + "}\n";
  }
  void Fuse(const FusedSource& source, std::ptrdiff_t front, std::ptrdiff_t rear) {
    const FusedCounts before = source.Counts();
    Front().Send(front);
    // Once a byte behind the frame is refused, the frame has ended, whatever the threads' turns are.
    test::SendAll({{0}}, Front().port);
    ASSERT_TRUE(test::Eventually([&] {
      return source.Counts().sensors[0].packets.refused_length >
             before.sensors[0].packets.refused_length;
    }));
    Rear().Send(rear);
    ASSERT_TRUE(test::Eventually([&] { return source.Counts().rounds > before.rounds; }));
  }
  void AwaitNote(const std::string& words) const {
    ASSERT_TRUE(test::Eventually([&] { return HasNoted(words); })) << words << dir_.Read("err");
  }
  /// The points of a frame as play writes them, without the line of names.
  std::string Played(const Sensor& sensor, int frame, const std::string& more) {
    const std::string name = std::to_string(frame);
    RunJson("play " + sensor.capture.capture + " --out one.csv --force --frames " + name + ":" +
            std::to_string(frame + 1) + more);
    const std::string text = dir_.Read("one.csv");
    return text.substr(text.find('\n') + 1);
  }

  const std::uint16_t asked_ = test::FreePort();
  const std::string folder_ = "check_folder: " + Front().capture.check_folder;
};

TEST_F(FusedLive, WritesTheWholeFramesOfAllSensorsInTheirOrderButNotThePartialOnes) {
  CloudSaver saver(std::make_unique<CloudWriter>(dir_ / "f", "csv"));
  const SensorFile file = ReadSensorFile(Describe("source: 127.0.0.1, " + folder_));
  FrameChoice choice;
  choice.frames = 2;
  const auto source = MakeFusedSource("point", file.sensors, choice, &saver, nullptr);
  ASSERT_TRUE(source->Open());
  Fuse(*source, 0, 0);
  test::LoopbackSocket(INADDR_LOOPBACK + 1).Send(Front().port, "", 1);
  Front().Send(1);
  ASSERT_TRUE(test::Eventually([&] { return source->Counts().sensors[0].waits; }));
  EXPECT_FALSE(source->Counts().sensors[1].waits);
  ASSERT_NO_FATAL_FAILURE(Fuse(*source, 2, 1));
  EXPECT_FALSE(source->Complete());
  Fuse(*source, 3, 2);
  EXPECT_TRUE(source->Complete());
  source->Stop();
  saver.Finish();
  const FusedCounts counts = source->Counts();
  EXPECT_EQ(counts.clouds.count, 2U);
  EXPECT_GT(counts.partial_points, 57 * 192U) << "with those of the front one";
  const SensorCounts &front = counts.sensors[0], &rear = counts.sensors[1];
  EXPECT_EQ(rear.frames.points, 2 * 56 * 192U);
  EXPECT_EQ(counts.clouds.points, front.frames.points + rear.frames.points);
  EXPECT_EQ(counts.clouds.non_zero, front.frames.non_zero + rear.frames.non_zero);
  EXPECT_LT(rear.frames.non_zero, rear.frames.points);
  EXPECT_EQ(front.packets.other_source, 1U);
  EXPECT_TRUE(front.overwritten == 1 && rear.overwritten == 0);
  EXPECT_TRUE(front.ended == 4 && rear.ended == 3);
  EXPECT_GE(front.max_age_s, rear.median_age_s) << "the rear one's frames came last";
  EXPECT_EQ(dir_.Files("f"), (std::set<std::string>{"frame_000001.csv", "frame_000002.csv"}));
  const std::string fused = dir_.Read("f/frame_000001.csv");
  const std::string names = fused.substr(0, fused.find('\n') + 1);
  const std::string of_front =
      names + Played(Front(), 2, " --model juniq --check-folder " + Front().capture.check_folder);
  EXPECT_EQ(fused.compare(0, of_front.size(), of_front), 0) << "its second frame was overwritten";
  // Played alone, a Corvik frame begins with the packet of its mark, which ended the one before.
  const std::string played = Played(Rear(), 1, " --model corvik --transform 5,0,0,0,0,0");
  const std::string of_rear = fused.substr(of_front.size());
  ASSERT_LT(of_rear.size(), played.size());
  EXPECT_EQ(played.compare(played.size() - of_rear.size(), of_rear.size(), of_rear), 0);
}

/// A frame that began before the tables were in use has points without them, and may wait a round.
TEST_F(FusedLive, CountsCloudsFromTheFirstThatIsSureToBeCalibrated) {
  const SensorFile file = Asking();
  CloudSaver saver(std::make_unique<CloudWriter>(dir_ / "f", "pcd"));
  const auto source = MakeFusedSource("point", file.sensors, {{}, true, ""}, &saver, nullptr);
  ASSERT_TRUE(source->Open());
  Fuse(*source, 0, 0);
  const auto server = Serve();
  ASSERT_TRUE(server != nullptr && test::Eventually([&] { return source->Calibration(0).loaded; }));
  for (int i = 1; i < 5; ++i) Fuse(*source, i, i);
  EXPECT_EQ(source->Counts().clouds_before_tables, 4U);
  EXPECT_EQ(source->Counts().clouds.count, 1U);
  source->Stop();
  saver.Finish();
  EXPECT_THAT(dir_.Read("f/frame_000004.pcd"), HasSubstr("UTC: 1700000000.400000\n"));
}

TEST_F(FusedLive, CountsTheFirstCloudWhereTheTablesCameBeforeIt) {
  const SensorFile file = Asking();
  const auto server = Serve();
  const auto source = MakeFusedSource("point", file.sensors, {{}, true, ""}, nullptr, nullptr);
  ASSERT_TRUE(server != nullptr && source->Open());
  ASSERT_TRUE(test::Eventually([&] { return source->Calibration(0).loaded; }));
  Fuse(*source, 0, 0);
  EXPECT_EQ(source->Counts().clouds_before_tables, 0U);
  EXPECT_EQ(source->Counts().clouds.count, 1U);
}

TEST_F(FusedLive, AsksOnlyOnceForWhatALenientOneTakesAsItComes) {
  sim::ReplyFaultRates faults;
  faults[sim::ReplyFault::kWrongMarker] = 1.0;
  const SensorFile file = Asking();
  const auto server = Serve(faults);
  FrameChoice choice;
  choice.lenient = true;
  const auto source = MakeFusedSource("point", file.sensors, choice, nullptr, nullptr);
  ASSERT_TRUE(server != nullptr && source->Open());
  lidar::UploadStatistics upload;
  EXPECT_TRUE(test::Eventually([&] {
    upload = source->Counts().sensors[0].packets.upload;
    return upload.wrong_marker > 20;
  }));
  EXPECT_LT(upload.repeated, upload.wrong_marker / 2);
}

TEST_F(FusedLive, NamesTheSensorOfWhichNothingArrives) {
  Start("live --wait 4 --config " + Describe(folder_) + " --json");
  AwaitNote("listening on");
  Front().Send(0);
  AwaitNote("note: rear: nothing arrived at ");
  const auto live = Finish();
  EXPECT_EQ(live.code, 3);
  EXPECT_THAT(live.err, HasSubstr("orliq live: rear: nothing arrived at 127.0.0.1:" +
                                  std::to_string(Rear().port) + " within 4"));
  EXPECT_THAT(live.err, testing::Not(HasSubstr("front: no")));
  const JsonValue sums = JsonValue::Parse(live.out);
  EXPECT_EQ(sums["sensors"][0]["packets_decoded"], 768);
  EXPECT_EQ(sums["sensors"][1]["name"], "rear");
  EXPECT_EQ(sums["error"]["code"], 3);
}

TEST_F(FusedLive, WritesAsManyCloudsAsWereAskedForAndExplainsTheLossesOfTheSecondSensor) {
  Start("live --config " + Describe(folder_) + " --out fused --format csv --frames 2 --json");
  AwaitNote("listening on");
  ASSERT_TRUE(test::SendAll({{0}}, Rear().port));
  // Which frames meet is up to the threads' turns: they come until two clouds are whole.
  for (int i = 0; !EndsWithin(std::chrono::seconds(0)); ++i) {
    ASSERT_LT(i, 1000);
    Front().Send(1 + i % 4);
    Rear().Send(1 + i % 4);
  }
  const auto live = Finish();
  EXPECT_EQ(live.code, 5) << live.err;
  EXPECT_THAT(live.err, HasSubstr("note: packets of other kinds came to the port: "));
  const JsonValue sums = JsonValue::Parse(live.out);
  EXPECT_TRUE(sums["fused_clouds"] == 2 && sums["files_written"] == 2) << live.out;
  EXPECT_EQ(sums["sensors"][1]["refused_length"], 1);
  std::ptrdiff_t lines = -2;  // of names
  for (const std::string& name : dir_.Files("fused")) {
    const std::string text = dir_.Read("fused/" + name);
    lines += std::count(text.begin(), text.end(), '\n');
  }
  EXPECT_EQ(sums["points"], lines);
}

TEST_F(FusedLive, NamesWhoHoldsTheOthersUpAndWhoseTablesNeverCame) {
  const test::LoopbackSocket mute;
  const std::string from = "127.0.0.1:" + std::to_string(mute.port());
  const std::string more = ", address: 127.0.0.1, params_from: '" + from + "'";
  Start("live --json --config " +
        dir_.Write("asking.yaml", "sensors:\n" + Line("front", Front(), "model: juniq" + more) +
                                      Line("rear", Rear(), "model: corvik" + more)));
  AwaitNote("listening on");
  Front().Send(0);
  AwaitNote("note: rear: nothing arrived at ");
  AwaitNote("note: front: it has sent nothing for 3.");
  Rear().Send(0);
  AwaitNote("note: rear: it sends now");
  Front().Send(1);
  AwaitNote("note: front: it sends again, after ");
  AwaitNote("note: rear: it has sent nothing for 3.");  // so what it sent is decoded
  const auto live = Finish(SIGINT);
  EXPECT_EQ(live.code, 3);
  EXPECT_THAT(live.err, HasSubstr("note: rear: corvik needs no calibration: params_from"));
  EXPECT_THAT(live.err, HasSubstr("orliq live: front: no reply of " + from));
  EXPECT_FALSE(HasNoted("front: nothing") || HasNoted("front: it sends now")) << live.err;
  EXPECT_FALSE(HasNoted("rear: it sends again") || HasNoted("rear: no reply")) << live.err;
  EXPECT_FALSE(JsonValue::Parse(live.out)["sensors"][1].Has("upload")) << "it was not asked";
}

TEST_F(FusedLive, RefusesWhatCouldNeverBeFusedAndBothKindsOfSettings) {
  const auto file = [&](const std::string& sensor) {
    return "live --wait 0.1 --config " +
           dir_.Write("x.yaml",
                      "sensors:\n" + Line("one", Front(), "model: juniq, " + folder_) + sensor);
  };
  const std::string two = "  - {name: two, port: 9, address: 127.0.0.1, model: ";
  const std::pair<std::string, test::Refusal> rows[] = {
      {"  - {name: two, model: juniq, capture: a.pcap}",
       {"", 2, "x.yaml:3: two plays a capture: orliq fuse"}},
      {two + "hestra}", {"", 2, "x.yaml:3: two: hestra packets complete no frame"}},
      {two + "juniq, check_folder: no}", {"", 4, "x.yaml:3: two: the check folder "}},
      {"  - {name: two, port: 9, address: 203.0.113.7, model: corvik}",
       {"", 4, "x.yaml:3: two: 203.0.113.7 is no address of this machine"}},
      {"", {" --out x.ply", 2, "add --frames 1"}},
      {"", {" --port 9", 2, "--port describes one sensor"}},
      {"", {" --params-local-port 9", 2, "--params-local-port describes one sensor"}},
      {"", {" --max-azimuth 9", 2, "--max-azimuth describes one sensor"}},
  };
  for (const auto& [sensor, row] : rows) {
    ExpectRefusal({file(sensor) + row.arguments, row.code, row.sentence});
  }
  ExpectRefusal({"live --model juniq", 2, "or several with --config"});
  ExpectRefusal({"live --model juniq --port 9 --lenient", 2, "--lenient needs --params-from"});
}

TEST(FusedTally, HasTheLossesOfEverySensor) {
  FusedTally tally;
  tally.counts.sensors.resize(2);
  EXPECT_FALSE(tally.HasLosses());
  tally.counts.sensors[1].packets.refused_length = 1;
  EXPECT_TRUE(tally.HasLosses());
}

/// What a sensor has sent by a moment, and what that says.
struct Moment {
  double at;
  std::uint64_t received, decoded;
  double age;
  std::uint64_t ended;
  bool waits;
  HoldUp expected;
  const char* why;
};

TEST(HoldUpWatch, TellsWhyASensorHoldsTheOthersUp) {
  const std::vector<std::vector<Moment>> rows = {
      {{2.9, 0, 0, -1, 0, false, HoldUp::kNone, "it may still come"},
       {3.1, 0, 0, -1, 0, false, HoldUp::kSilent, "nothing came"},
       {9.0, 1, 1, 0, 0, false, HoldUp::kNone, "its first frame begins"},
       {10.5, 50, 50, 0, 0, false, HoldUp::kNone, "and goes on"},
       {12.1, 99, 99, 0, 0, false, HoldUp::kNoFrame, "which does not end"},
       {12.2, 99, 99, 0, 1, false, HoldUp::kNone, "but now"}},
      {{1.0, 9, 0, 0, 0, false, HoldUp::kNone, "too early to tell"},
       {4.1, 9, 0, 3.1, 0, false, HoldUp::kRefused, "no packet was of its model"}},
      {{1.0, 9, 9, 0, 0, true, HoldUp::kNone, "the others hold it up"},
       {3.0, 50, 50, 0, 0, true, HoldUp::kNone, "still"},
       {4.9, 98, 98, 0, 0, true, HoldUp::kNone, "and for long"},
       {5.0, 99, 99, 0, 1, false, HoldUp::kNone, "no longer"},
       {5.3, 100, 100, 0, 1, false, HoldUp::kNone, "the next frame begins"},
       {8.2, 100, 100, 2.9, 1, false, HoldUp::kNone, "no frame, but no packet either"},
       {9.5, 100, 100, 4.2, 1, false, HoldUp::kStalled, "and that for long"},
       {9.6, 101, 101, 0, 1, false, HoldUp::kNone, "back"},
       {12.5, 200, 101, 0, 1, false, HoldUp::kNone, "of another kind, since a moment"},
       {12.7, 201, 101, 0, 1, false, HoldUp::kRefused, "and for long"}},
      {{1.0, 9, 9, 0, 0, true, HoldUp::kNone, ""},
       {4.5, 9, 9, 3.5, 0, true, HoldUp::kStalled, "its last frame waits, no other will come"}}};
  for (const auto& row : rows) {
    HoldUpWatch watch;
    for (const Moment& now : row) {
      SensorCounts counts;
      counts.packets.received = now.received;
      counts.packets.decoded = now.decoded;
      counts.packets.last_packet_age_s = now.age;
      counts.ended = now.ended;
      counts.waits = now.waits;
      EXPECT_EQ(watch.Look(counts, now.at), now.expected) << now.at << ": " << now.why;
      if (now.at == 9.6) {
        EXPECT_NEAR(watch.Gap(), 4.3, 1e-9);
      }
    }
  }
}

TEST(FusedStatus, HasRoomForEightSensorsOfWhichThoseInTroubleShow) {
  SensorFile file;
  FusedMoment before, now;
  for (int i = 0; i < 8; ++i) {
    file.sensors.emplace_back().name = "sensor-" + std::to_string(i);
    before.counts.sensors.emplace_back();
    now.counts.sensors.emplace_back().ended = 20;
    now.hold_ups.push_back(HoldUp::kNone);
  }
  now.at = 2.0;
  now.counts.clouds.count = 20;
  const std::string head = "10.0 clouds/s 0 pts skew 0 ms";
  EXPECT_THAT(FusedStatusText(file, before, now, 300), HasSubstr(" | sensor-7 10.0 fps"));
  EXPECT_EQ(FusedStatusText(file, before, now, 99), head + " | 8 fine");
  now.counts.sensors[3].packets.dropped_by_kernel = 7;
  now.hold_ups[5] = HoldUp::kSilent;
  EXPECT_EQ(FusedStatusText(file, before, now, 99),
            head + " | sensor-3 lost:7 | sensor-5 silent | 6 more fine");
  EXPECT_EQ(FusedStatusText(file, before, now, 77), head + " | 2 in trouble | 6 fine");
  now.counts.not_written.no_room = 2;
  now.counts.not_written.packets = 40;
  EXPECT_THAT(FusedStatusText(file, before, now, 77), HasSubstr(head + " unwritten:42 | "));
}

TEST(LiveStatus, TellsRatesAndWhatIsLost) {
  LiveCounts before, now;
  before.packets.received = 100;
  now.packets.received = 250;
  now.packets.last_packet_age_s = 0.3;
  now.packets.queued = 3;
  now.frames.count = 20;
  now.frames.last_points = 7;
  now.imu_samples = 9;
  const std::string rates = "75 pkt/s 10.0 fps 7 pts 4 IMU/s age:0.3s";
  EXPECT_EQ(LiveStatusText(before, now, 2.0), rates + " queue:3");
  now.packets.dropped_by_kernel = 4;
  now.packets.dropped_by_limit = 1;
  now.packets.refused_length = 2;
  now.packets.refused_identifier = 6;
  now.not_written.faults = 8;
  now.not_written.samples = 30;
  EXPECT_EQ(LiveStatusText(before, now, 2.0), rates + " lost:5 0x41:2 0x42:6 unwritten:38 queue:3");
}

}  // namespace
}  // namespace orliq::cli
