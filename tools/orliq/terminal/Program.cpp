// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Program.h"

#include <CLI/CLI.hpp>

#include "orliq/terminal/HelpText.h"
#include "orliq/terminal/VersionText.h"

namespace orliq::cli {

Program::Program(const std::string& name, const std::string& text, const std::string& footer)
    : app_(std::make_shared<CLI::App>(text, name)) {
  app_->get_formatter()->column_width(kHelpTextColumn);
  app_->set_version_flag("--version", VersionText);
  app_->require_subcommand(1);
  app_->footer(footer);
}

CommandLine Program::AddVerb(const std::string& name, const std::string& text) {
  return CommandLine(*app_->add_subcommand(name, text));
}

}  // namespace orliq::cli
