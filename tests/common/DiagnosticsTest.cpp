// SPDX-License-Identifier: Apache-2.0
#include "common/Diagnostics.h"

#include <gmock/gmock.h>

#include <atomic>
#include <iostream>
#include <sstream>
#include <thread>

#include "multi_driver/Diagnostics.h"
#include "support/Threads.h"

namespace orliq::lidar {
namespace {

using testing::ElementsAre;
using Lines = std::vector<std::string>;

/// Takes text from one thread at a time, as a stream buffer of an application does.
struct PlainBuffer : std::stringbuf {
  std::streamsize xsputn(const char* /*text*/, std::streamsize size) override {
    if (++inside > 1) ++mixed;
    std::this_thread::yield();
    --inside;
    return size;
  }
  std::atomic<int> inside{0}, mixed{0};
};

TEST(Diagnostics, OneLineAtATimeGoesToAStreamBufferThatKnowsNoThreads) {
  PlainBuffer buffer;
  std::streambuf* const before = std::cout.rdbuf(&buffer);
  const auto talk = [] {
    for (int i = 0; i < 1000; ++i) diagnostics::PacketLengthMismatch(1104, 99);
  };
  std::thread other(talk);
  talk();
  other.join();
  std::cout.rdbuf(before);
  EXPECT_EQ(buffer.mixed, 0);
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
  std::atomic<bool> ended{false};
  std::thread driver([&] {
    while (!ended) diagnostics::DecoderType(64);
  });
  for (int i = 0; i < 300; ++i) {
    const auto held = std::make_shared<int>();
    std::atomic<bool> called{false};
    SetDiagnosticSink([&called, held](const std::string&, DiagnosticStream) {
      called = true;
      std::this_thread::yield();
    });
    EXPECT_TRUE(test::Eventually([&] { return called.load(); }));
    SetDiagnosticSink([](const std::string&, DiagnosticStream) {});
    EXPECT_EQ(held.use_count(), 1);
  }
  std::atomic<int> calls{0};
  SetDiagnosticSink([&calls](const std::string&, DiagnosticStream) {
    ++calls;
    SetDiagnosticSink([](const std::string&, DiagnosticStream) {});  // from inside: no deadlock
  });
  EXPECT_TRUE(test::Eventually([&] { return calls > 0; }));
  ended = true;
  test::MustEnd("the thread that replaced its own sink", [&] { driver.join(); });
  SetDiagnosticSink(nullptr);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace orliq::lidar
