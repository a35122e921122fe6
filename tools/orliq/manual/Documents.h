// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/terminal/CommandLine.h"

namespace orliq::cli {

/// The manual page of the program that `app` describes, in the language of man.
std::string ManPage(const CLI::App& app);

/// A script for bash that completes verbs, options and the words that options take.
std::string BashCompletion(const CLI::App& app);

/// The verbs in the order of the help.
std::vector<const CLI::App*> VerbsOf(const CLI::App& app);

}  // namespace orliq::cli
