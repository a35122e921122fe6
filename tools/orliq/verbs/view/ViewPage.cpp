// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewPage.h"

// web/dist, put here by the assembler.
// NOLINTBEGIN(readability-identifier-naming): its names
extern "C" const char orliq_view_page[], orliq_view_page_end[], orliq_view_licences[],
    orliq_view_licences_end[], orliq_view_policy[], orliq_view_policy_end[];
// NOLINTEND(readability-identifier-naming)

namespace orliq::cli {
namespace {

std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

/// A text file ends with a line feed, which a header must not hold.
std::string_view Line(std::string_view text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace

std::vector<WebFile> ViewPageFiles() {
  const std::string_view policy = Line(Between(orliq_view_policy, orliq_view_policy_end));
  return {{"/", "text/html; charset=utf-8", Between(orliq_view_page, orliq_view_page_end), policy},
          {"/licences", "text/plain; charset=utf-8",
           Between(orliq_view_licences, orliq_view_licences_end)}};
}

}  // namespace orliq::cli
