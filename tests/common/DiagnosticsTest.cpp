// SPDX-License-Identifier: Apache-2.0
#include "common/Diagnostics.h"

#include <gmock/gmock.h>

#include <atomic>
#include <iostream>
#include <sstream>
#include <thread>

#include "multi_driver/Diagnostics.h"
#include "support/Playback.h"

namespace orliq::lidar {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

/// Two drivers at a time that have much to say.
void TalkOnTwoThreads(int times) {
  const auto talk = [times] {
    for (int i = 0; i < times; ++i) diagnostics::PacketLengthMismatch(1104, 99);
  };
  std::thread other(talk);
  talk();
  other.join();
}

TEST(Diagnostics, LinesOfTwoThreadsStayWholeInAStreamBufferThatKnowsNoThreads) {
  std::stringbuf text;
  std::streambuf* const before = std::cout.rdbuf(&text);
  TalkOnTwoThreads(3000);
  std::cout.rdbuf(before);
  std::string expected;
  for (int i = 0; i < 6000; ++i) expected += "ProcessMsopPacket MSOP_LEN:1104 size:99\n";
  EXPECT_TRUE(text.str() == expected);
}

TEST(Diagnostics, ASinkGetsEveryLineInsteadOfTheStreamsUntilItIsTakenAway) {
  Lines out, err;
  const auto note = [&](const std::string& line, DiagnosticStream stream) {
    (stream == DiagnosticStream::Error ? err : out).push_back(line);
  };
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  SetDiagnosticSink(note);
  diagnostics::DecoderType(64);
  diagnostics::Dump("a\n\nb\n");
  diagnostics::FilterMaskMismatch();
  errno = EADDRINUSE;
  diagnostics::BindFailed();
  SetDiagnosticSink([](const std::string&, DiagnosticStream) { throw std::exception(); });
  diagnostics::CloudProviderMissing();
  SetDiagnosticSink([](const std::string&, DiagnosticStream) { diagnostics::DecoderType(1); });
  diagnostics::DecoderType(2);
  SetDiagnosticSink(nullptr);
  errno = EINVAL;
  diagnostics::BindFailed();
  EXPECT_THAT(out, ElementsAre("type:64", "a", "", "b"));
  EXPECT_THAT(err, ElementsAre("Error: mask size mismatch", "bind failed: Address already in use"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\033[1m\033[33mError:Get point cloud call back is nullptr!\033[0m\ntype:1\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "bind failed: Invalid argument\n");
}

TEST(Diagnostics, ASinkThatWasReplacedNeitherRunsNorLivesAnyMore) {
  std::atomic<int> late{0};
  std::atomic<bool> ended{false};
  std::thread driver([&] {
    while (!ended) diagnostics::DecoderType(64);
  });
  for (int i = 0; i < 300; ++i) {
    auto gone = std::make_shared<std::atomic<bool>>(false);
    std::atomic<bool> called{false};
    SetDiagnosticSink([&late, &called, gone](const std::string&, DiagnosticStream) {
      called = true;
      std::this_thread::yield();
      if (*gone) ++late;
    });
    EXPECT_TRUE(test::Eventually([&] { return called.load(); }));
    SetDiagnosticSink([](const std::string&, DiagnosticStream) {});
    *gone = true;
    EXPECT_EQ(gone.use_count(), 1);
  }
  std::atomic<int> calls{0};
  SetDiagnosticSink([&calls](const std::string&, DiagnosticStream) {
    ++calls;
    SetDiagnosticSink([](const std::string&, DiagnosticStream) {});  // from inside: no deadlock
  });
  EXPECT_TRUE(test::Eventually([&] { return calls > 0; }));
  ended = true;
  driver.join();
  SetDiagnosticSink(nullptr);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(late, 0);
}

}  // namespace
}  // namespace orliq::lidar
