// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/GrowingFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "orliq/terminal/ExitCode.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

TEST(GrowingFile, HoldsNothingOfAPieceThatFoundNoRoomAndTakesItWhenThereIs) {
  const test::TempDir dir;
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  {
    GrowingFile file(dir / "f", GrowingFile::Name::kAtOnce, false);
    file.Append("first,");
    const rlimit small = {10, limit.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(file.Append("second,"), Failure);
    EXPECT_EQ(dir.Read("f"), "first,");
    ::setrlimit(RLIMIT_FSIZE, &limit);
    file.Append("second,");
    file.Append("third");
  }
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(dir.Read("f"), "first,second,third") << "though it was not finished";
  EXPECT_THROW(GrowingFile(dir / "f", GrowingFile::Name::kAtOnce, false), Failure);
  GrowingFile(dir / "g", GrowingFile::Name::kWhenWhole, false).Append("lost");
  EXPECT_EQ(dir.Files(), std::set<std::string>{"f"});
}

TEST(GrowingFile, LeavesAloneWhatHasComeMeanwhileAndWhatIsNoFile) {
  const test::TempDir dir;
  for (const bool replace : {false, true}) {
    GrowingFile file(dir / "f", GrowingFile::Name::kWhenWhole, replace);
    file.Append("ours");
    dir.Write("f", "theirs");
    if (replace) {
      file.Finish();
    } else {
      EXPECT_THROW(file.Finish(), Failure);
    }
    EXPECT_EQ(dir.Read("f"), replace ? "ours" : "theirs");
  }
  EXPECT_EQ(dir.Files(), std::set<std::string>{"f"});
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0600), 0);
  const auto open = [&] { GrowingFile(dir / "pipe", GrowingFile::Name::kAtOnce, true); };
  EXPECT_THROW(open(), Failure) << "which waits for nobody who reads it,";
  const int reader = ::open((dir / "pipe").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_THROW(open(), Failure) << "and writes nothing into it";
  ::close(reader);
}

}  // namespace
}  // namespace orliq::cli
