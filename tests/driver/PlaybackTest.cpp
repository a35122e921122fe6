// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <atomic>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "support/CaptureBuilder.h"
#include "support/JuniqPacket.h"
#include "support/Playback.h"
#include "support/SimulatedCapture.h"
#include "support/TempDir.h"
#include "support/TickingClock.h"

namespace orliq::lidar {
namespace {

using test::Bytes;
using test::CaptureBuilder;
using test::Eventually;
using test::JuniqPacket;
using test::JuniqReturn;
using test::kMarker;
using test::TempDir;
using testing::ElementsAre;

using Probe = test::Playback<Point>;

/// A packet whose points all have the intensity `tag`, so that a frame tells where it came from.
JuniqPacket Tagged(unsigned tag) {
  return JuniqPacket(JuniqReturn{20, 10, 6400, tag}).Second(tag % 60);
}
JuniqPacket Tagged(unsigned tag, std::size_t marker_at) {
  return Tagged(tag).Block(marker_at, {0x7F, 0xBF, 6400, tag});
}

/// How many points of a frame came from which packet, in order.
using RunLengths = std::vector<std::pair<int, int>>;
RunLengths Runs(const PointCloud<Point>& cloud) {
  RunLengths runs;
  for (const Point& p : cloud.points) {
    if (runs.empty() || runs.back().first != p.intensity) runs.emplace_back(p.intensity, 0);
    ++runs.back().second;
  }
  return runs;
}

class PlaybackTest : public testing::Test {
 protected:
  std::string Write(const CaptureBuilder& capture) { return capture.Write(dir_ / "capture.pcap"); }

  /// Three frames: marker in block 10 of packet 2 and in the last block of packet 4.
  std::string ThreeFrames() {
    CaptureBuilder capture;
    return Write(
        capture.Udp(Tagged(1)).Udp(Tagged(2, 10)).Udp(Tagged(3)).Udp(Tagged(4, 63)).Udp(Tagged(5)));
  }
  TempDir dir_;
};

TEST_F(PlaybackTest, AFrameRunsFromBehindTheMarkerToTheEndOfTheNextMarkersPacket) {
  Probe probe;
  ASSERT_EQ(probe.Open(ThreeFrames()), 3);
  const auto second = probe.Play(1);
  EXPECT_EQ(Runs(*second), (RunLengths{{2, 53}, {3, 64}, {4, 64}}));
  EXPECT_EQ(second->timestamp, 1709251142.25) << "second 2: packet 2 is the frame's first";
  const auto first = probe.Play(0);
  EXPECT_EQ(Runs(*first), (RunLengths{{1, 64}, {2, 64}}));
  for (int i = 0; i < 2; ++i) {  // the last frame ends with the file, and can be played again
    const auto last = probe.Play(2);
    EXPECT_EQ(Runs(*last), (RunLengths{{5, 64}}));
    EXPECT_EQ(last->timestamp, 0.0);
  }
  for (const int refused : {-1, 3, 4711}) EXPECT_FALSE(probe.driver->SetLocalFrame(refused));
  EXPECT_TRUE(Eventually([&] { return !probe.driver->IsLocalFramePlaying(); })) << "it has ended";
  EXPECT_TRUE(probe.errors.empty());
}

TEST_F(PlaybackTest, ATransformIsSwitchedOnBetweenFrames) {
  Probe probe;
  DriverParam param = Probe::Param(ThreeFrames());
  param.decoder_param.transform_param.z = 5.0F;
  ASSERT_EQ(probe.Open(param), 3);
  for (const std::uint32_t enable : {0U, 1U, 0U}) {
    probe.driver->UpdateTransform({enable, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(probe.Play(2)->points[0].z, enable ? 5.0F : 0.0F);
  }
}

// The worker pauses once per thousand foreign records in a row. Its pauses show as the times that it
// gave its core up by itself.
TEST_F(PlaybackTest, ForeignRecordsAreSkippedWithoutAPauseUnlessThousandsComeInARow) {
  Probe probe;
  CaptureBuilder capture;
  for (int i = 0; i < 102'000; ++i) {
    capture.Udp(Bytes{1}, 53);
    if (i <= 100'000 && i % 500 == 0) capture.Udp(Tagged(1));
  }
  long pauses = -1;
  probe.on_frame = [&pauses] {
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    pauses = usage.ru_nvcsw;
  };
  ASSERT_EQ(probe.Open(Write(capture)), 1);
  EXPECT_EQ(Runs(*probe.Play(0)), (RunLengths{{1, 201 * 64}}));
  EXPECT_LT(pauses, 100) << "4 by itself, some for a lock or a loaded machine; else 102 each time";
}

// The calls come while a callback runs: a lock held around it would keep them waiting for ever.
TEST_F(PlaybackTest, AskingForTheStatusEndsAFrameInWhicheverCallbackItIs) {
  const test::TickingClock clock;
  const Bytes refused(100, 1);
  CaptureBuilder capture;
  capture.Udp(refused).Udp(Tagged(1)).Udp(refused).Udp(Tagged(2, 10).Block(20, kMarker));
  const std::string path = Write(capture.Udp(Tagged(3, 63)).Udp(Tagged(4)));
  const struct {
    std::function<void()> Probe::*callback;
    int nth;
    int frame;
    std::size_t clouds;
    std::vector<std::pair<int, int>> last;  // of them: what had been decoded stays in the cloud
  } rows[] = {{&Probe::on_error, 1, 0, 1, {{4, 64}}},           // in the frame's first packet
              {&Probe::on_error, 2, 0, 1, {{1, 64}, {4, 64}}},  // in one of the rest
              {&Probe::on_frame, 1, 0, 2, {{4, 64}}},           // in its last
              {&Probe::on_frame, 1, 1, 2, {{4, 64}}}};          // at the first's second mark
  for (const auto& row : rows) {
    test::Hold hold{row.nth};
    Probe probe;
    ASSERT_EQ(probe.Open(path), 3) << "the first datagram starts frame 0, though it is refused";
    EXPECT_THAT(probe.errors, ElementsAre(0x41, 0x41)) << "also while indexing";
    probe.*row.callback = std::ref(hold);
    ASSERT_TRUE(probe.Request(row.frame) && hold.Reached());
    EXPECT_FALSE(probe.driver->SetLocalFrame(2)) << "a frame is playing";
    EXPECT_TRUE(probe.driver->IsLocalFramePlaying());
    test::MustEnd("a call during a callback", [&probe] {
      int frames = 0;
      EXPECT_TRUE(probe.driver->GetLocalFileStatus(frames));
      EXPECT_EQ(frames, 3);
      EXPECT_TRUE(probe.driver->IsLocalFramePlaying()) << "its packet is still being decoded";
      EXPECT_TRUE(probe.driver->SetLocalFrame(2)) << "at once: the old frame is over";
    });
    hold.go.set_value();
    ASSERT_TRUE(probe.WaitFor(row.clouds));
    EXPECT_EQ(Runs(*probe.frames.back()), row.last);
  }
}

TEST_F(PlaybackTest, ARestartIndexesFromWhereTheFileStands) {
  Probe probe;
  ASSERT_EQ(probe.Open(ThreeFrames()), 3);
  probe.driver->Stop();
  EXPECT_FALSE(probe.driver->SetLocalFrame(9));
  EXPECT_TRUE(probe.driver->Start());
  EXPECT_TRUE(probe.driver->Start()) << "runs already";
  EXPECT_EQ(probe.Indexed(), 3) << "at the end of the file nothing is found again";
  ASSERT_NE(probe.Play(0), nullptr);  // leaves the file behind packet 2
  probe.driver->Stop();
  ASSERT_TRUE(probe.driver->Start());
  EXPECT_EQ(probe.Indexed(), 4) << "the frame that begins in packet 4 is listed once more";
  EXPECT_EQ(Runs(*probe.Play(3)), (RunLengths{{5, 64}}));
  probe.driver->Stop();
  EXPECT_TRUE(probe.driver->SetLocalFrame(0)) << "accepted, but nobody is there to play it";
  EXPECT_FALSE(probe.driver->IsLocalFramePlaying());
  ASSERT_TRUE(probe.driver->Start() && probe.Request(1) && probe.WaitFor(3));
  EXPECT_EQ(probe.frames[2]->points.size(), 181U) << "forgotten by the restart";
}

TEST_F(PlaybackTest, AFileCutShortAfterIndexingStillEndsEveryRequestInACloud) {
  Probe probe;
  const std::string path = ThreeFrames();
  ASSERT_EQ(probe.Open(path), 3);
  std::filesystem::resize_file(path, 24 + 16 + 500);
  for (const int frame : {2, 1, 0}) {
    const auto cloud = probe.Play(frame);
    ASSERT_NE(cloud, nullptr);
    EXPECT_EQ(cloud->timestamp, 0.0);
  }
}

TEST_F(PlaybackTest, AFrameThatEndsWithTheFileLeavesNoneOfItsReturnsToTheRadiusFilter) {
  sim::SensorOptions options;
  options.faults.false_return_rate = 0.01;
  const test::SimulatedCapture capture(2, options);  // of 768 packets each
  std::filesystem::resize_file(capture.capture, 24 + 1000 * (16 + 42 + 1104));
  Probe probe;
  ASSERT_EQ(probe.Open(Probe::Param(capture.capture, capture.check_folder)), 2);
  const std::size_t filtered = probe.Play(0)->points.size();
  EXPECT_LT(filtered, 768U * 64U);
  testing::internal::CaptureStderr();
  EXPECT_EQ(probe.Play(1)->points.size(), 232U * 64U);
  EXPECT_EQ(probe.Play(0)->points.size(), filtered);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// A stop that comes between the worker's look at the run flag and its falling asleep must wake it.
// The provider is the last that the application sees of a worker on its way there.
TEST_F(PlaybackTest, NoStopIsLostOnAWorkerThatIsAboutToWait) {
  Probe probe;
  std::atomic<bool> leaving{false};
  probe.provider = [&] {
    leaving = true;
    return std::make_shared<PointCloud<Point>>();
  };
  ASSERT_EQ(probe.Open(ThreeFrames()), 3);
  testing::internal::CaptureStdout();  // a line for each start
  std::minstd_rand random(4);
  const auto stop_often = [&] {
    for (int stops = 0; stops < 100; ++stops) {
      leaving = false;
      ASSERT_TRUE(probe.Request(2));
      while (!leaving) std::this_thread::yield();
      for (auto n = random() % 1000; n > 0; --n) {
        std::atomic_signal_fence(std::memory_order_seq_cst);
      }
      probe.driver->Stop();
      ASSERT_TRUE(probe.driver->Start());
    }
  };
  for (int i = 0; i < 10; ++i) test::MustEnd("one of a hundred stops", stop_often);
  testing::internal::GetCapturedStdout();
}

TEST_F(PlaybackTest, WithoutAProviderAYellowLineTellsAndNothingIsDelivered) {
  Probe probe;
  probe.driver->RegisterPointCloudCallBack([&](auto) { ADD_FAILURE(); }, nullptr);
  const std::string path = ThreeFrames();
  testing::internal::CaptureStdout();
  ASSERT_EQ(probe.Open(path), 3);
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(probe.Request(0));  // the second once the first is over
  probe.driver->Stop();
  const std::string yellow = "\033[1m\033[33mError:Get point cloud call back is nullptr!\033[0m\n";
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StartsWith("type:64\npcap_file:" + path + "\n" + yellow +
                                  "\033[1m\033[32mpcap file is load finished!\033[0m\n" + yellow));
}

TEST_F(PlaybackTest, WithoutASuccessfulInitialisationEverythingIsRefusedUntilOneWorks) {
  Probe probe;
  const std::string good = ThreeFrames();
  int frames = 4711;
  probe.driver->Stop();
  probe.driver->UpdateTransform({});
  EXPECT_FALSE(probe.driver->Start() || probe.driver->SetLocalFrame(0) ||
               probe.driver->GetLocalFileStatus(frames));
  EXPECT_EQ(frames, 4711);
  std::vector<DriverParam> bad(3, Probe::Param(good));
  bad[0].lidar_type = static_cast<LidarType>(0x22);
  bad[1].input_type = static_cast<InputType>(2);
  bad[2].input_param.pcap_file += "-missing";
  for (const DriverParam& param : bad) {
    ASSERT_EQ(probe.Open(good), 3);
    EXPECT_FALSE(probe.driver->InitDriver(param) || probe.driver->Start());
    EXPECT_FALSE(probe.driver->GetLocalFileStatus(frames)) << "the earlier manager is gone as well";
  }
  auto provider = probe.provider;
  probe.provider = []() -> decltype(provider()) { throw std::runtime_error("none"); };
  EXPECT_FALSE(probe.driver->InitDriver(Probe::Param(good)));
  probe.provider = provider;
  EXPECT_EQ(probe.Open(good), 3);
}

TEST_F(PlaybackTest, StopInitAndDestructionWorkFromInsideACallback) {
  const std::string path = ThreeFrames();
  const std::function<void(Probe&)> actions[] = {
      [](Probe& probe) { probe.driver->Stop(); },
      [&](Probe& probe) { EXPECT_TRUE(probe.driver->InitDriver(Probe::Param(path))); },
      [](Probe& probe) {
        probe.driver->Stop();
        EXPECT_TRUE(probe.driver->Start()) << "the thread goes on and indexes again";
      },
      [](Probe& probe) { probe.driver.reset(); }};
  for (std::function<void(Probe&)> action : actions) {
    Probe probe;
    probe.on_frame = [&] {
      if (const auto first = std::exchange(action, nullptr)) first(probe);
    };
    ASSERT_EQ(probe.Open(path), 3);
    ASSERT_TRUE(probe.Request(0));
    // Without its driver the thread has nobody to join it: it counts the frame as its last act.
    ASSERT_TRUE(probe.WaitFor(1)) << "the callback did not come back";
    if (!probe.driver) continue;
    ASSERT_TRUE(probe.driver->Start());
    EXPECT_GE(probe.Indexed(), 3);
    EXPECT_NE(probe.Play(0), nullptr);
  }
}

TEST_F(PlaybackTest, AnErrorCallbackMayReplaceTheManagerWhileTheFileIsStillBeingOpened) {
  const std::string path = Write(CaptureBuilder().Udp(Bytes(100, 1)).Udp(Tagged(1).payload()));
  const test::TickingClock clock;
  for (int i = 0; i < 50; ++i) {
    OrliqDriver<PointCloud<Point>> driver;
    std::promise<void> replaced;
    driver.RegisterExceptionCallBack([&, first = true](const Error&) mutable {
      if (!std::exchange(first, false)) return;
      EXPECT_TRUE(driver.InitDriver(Probe::Param(path)));
      replaced.set_value();
    });
    EXPECT_TRUE(driver.InitDriver(Probe::Param(path)));
    EXPECT_TRUE(driver.Start());
    ASSERT_EQ(replaced.get_future().wait_for(test::kDeadline), std::future_status::ready)
        << "the first packet's error did not come";
  }
}

}  // namespace
}  // namespace orliq::lidar
