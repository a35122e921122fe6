// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

#include "orliq/web/WebServer.h"

namespace orliq::cli {

/// What the page and the program speak; see docs/view-protocol.md.
constexpr std::string_view kViewStream = "orliq.view.1";

/// The page and the licences of what it is made of, as they are built into the program.
std::vector<WebFile> ViewPageFiles();

}  // namespace orliq::cli
