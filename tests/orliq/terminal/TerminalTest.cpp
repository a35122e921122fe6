// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "orliq/terminal/HelpText.h"
#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/terminal/StandardError.h"

namespace orliq::cli {
namespace {

TEST(TerminalText, SizesHaveAUnitInWhichTheyAreNotNothing) {
  EXPECT_EQ(Megabytes(1), "1 byte");
  EXPECT_EQ(Megabytes(999), "999 bytes");
  EXPECT_EQ(Megabytes(1000), "1.0 kB");
  EXPECT_EQ(Megabytes(99'949), "99.9 kB");
  EXPECT_EQ(Megabytes(100'000), "0.1 MB");
}

TEST(TerminalText, TheTimeLeftFollowsFromTheTimeSpentAndIsNeverAGuessAtTheStart) {
  EXPECT_EQ(TimeLeftText(0.25, 4.0), ", 12 s left");
  EXPECT_EQ(TimeLeftText(0.5, 90.1), ", 91 s left");
  EXPECT_EQ(TimeLeftText(0.5, 240.0), ", 4 min left");
  EXPECT_EQ(TimeLeftText(0.5, 7200.0), ", 2 h left");
  EXPECT_EQ(TimeLeftText(0.25, 0.9) + TimeLeftText(0.0, 4.0) + TimeLeftText(1.0, 4.0), "");
}

TEST(TerminalText, ColoursAreLeftOutAndNothingElse) {
  EXPECT_EQ(standard_error::WithoutColours("\033[1m\033[32mdone [3m]\033[0m!"), "done [3m]!");
  EXPECT_EQ(standard_error::WithoutColours("cut \033[1"), "cut ");
}

TEST(TerminalText, AHelpLineGoesOnUnderItsWords) {
  const std::string words(48, 'w');
  EXPECT_EQ(WrapHelp("  --a TEXT                  bbb " + words + " ccc\n"),
            "  --a TEXT                  bbb " + words + "\n" + std::string(28, ' ') + "ccc\n");
  EXPECT_EQ(WrapHelp(words + ' ' + words), words + '\n' + words + '\n');
  EXPECT_EQ(WrapHelp(std::string(90, 'w')), std::string(90, 'w') + '\n') << "no blank to break at";
}

}  // namespace
}  // namespace orliq::cli
