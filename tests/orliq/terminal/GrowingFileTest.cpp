// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/GrowingFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

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

}  // namespace
}  // namespace orliq::cli
