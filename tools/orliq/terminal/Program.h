// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "orliq/terminal/CommandLine.h"

namespace orliq::cli {

/// The command line of the whole program, whose verbs each have one of their own; copies stand for the
/// same one.
class Program {
 public:
  /// `text` and `footer` stand above and below the verbs in the help.
  Program(const std::string& name, const std::string& text, const std::string& footer);

  CommandLine AddVerb(const std::string& name, const std::string& text);

  /// What parses, for who knows the library.
  CLI::App& App() { return *app_; }

 private:
  std::shared_ptr<CLI::App> app_;
};

}  // namespace orliq::cli
