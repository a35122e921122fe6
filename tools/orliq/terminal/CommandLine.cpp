// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/CommandLine.h"

#include <CLI/App.hpp>
#include <cstdint>
#include <utility>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

using Options = std::vector<CLI::Option*>;

/// An option and another that it makes sense with.
using Needs = std::vector<std::pair<CLI::Option*, CLI::Option*>>;

/// Why an option cannot stand beside --config.
std::string OfOneSensor(const std::string& option) {
  return option + " describes one sensor: with --config, the file does that";
}

/// Takes from all options what they need of `replaced`.
Needs TakeNeeds(CLI::App& command, const Options& replaced) {
  Needs needs;
  for (CLI::Option* const needed : replaced) {
    for (CLI::Option* const option : command.get_options()) {
      if (option->remove_needs(needed)) needs.emplace_back(option, needed);
    }
  }
  return needs;
}

void RequireAlone(const Options& replaced) {
  for (const CLI::Option* const option : replaced) {
    if (option->empty()) continue;
    throw CLI::ExcludesError(OfOneSensor(option->get_name()), CLI::ExitCodes::ExcludesError);
  }
}

void RequireNeeds(const Needs& needs) {
  for (const auto& [option, needed] : needs) {
    if (option->empty() || !needed->empty()) continue;
    throw CLI::RequiresError(option->get_name(), needed->get_name() + " or --config");
  }
}

}  // namespace

template <typename Value>
Option CommandLine::Add(const std::string& name, Value& value, const std::string& text) {
  return Option(*command_->add_option(name, value, text));
}

#define ORLIQ_OPTIONS_OF(...)                                                   \
  template Option CommandLine::Add(const std::string& name, __VA_ARGS__& value, \
                                   const std::string& text);
ORLIQ_OPTIONS_OF(std::string)
ORLIQ_OPTIONS_OF(std::optional<std::string>)
ORLIQ_OPTIONS_OF(std::vector<std::string>)
ORLIQ_OPTIONS_OF(std::uint16_t)
ORLIQ_OPTIONS_OF(std::optional<std::uint16_t>)
ORLIQ_OPTIONS_OF(std::uint32_t)
ORLIQ_OPTIONS_OF(std::uint64_t)
ORLIQ_OPTIONS_OF(std::optional<std::uint64_t>)
ORLIQ_OPTIONS_OF(float)
ORLIQ_OPTIONS_OF(std::vector<float>)
ORLIQ_OPTIONS_OF(double)
ORLIQ_OPTIONS_OF(std::optional<double>)
#undef ORLIQ_OPTIONS_OF

Option CommandLine::AddText(const std::string& name, std::optional<std::string>& value,
                            const std::string& text) {
  const auto take = [&value](const std::string& given) { value = given; };
  return Option(*command_->add_option_function<std::string>(name, take, text));
}

Option CommandLine::AddOneOf(const std::string& name,
                             const std::function<void(const std::string&)>& take,
                             const std::vector<std::string>& words, const std::string& kinds,
                             const std::string& text) {
  return Option(*command_->add_option_function<std::string>(name, take, text)
                     ->type_name("ENUM")
                     ->check(CLI::IsMember(words).description(kinds)));
}

Option CommandLine::AddFlag(const std::string& name, bool& value, const std::string& text) {
  return Option(*command_->add_flag(name, value, text));
}

Option CommandLine::AddFlag(const std::string& name, const std::string& text) {
  return Option(*command_->add_flag(name, text));
}

Option CommandLine::AddFlagAgainst(const std::string& name, bool& value, const std::string& text) {
  return Option(*command_->add_flag_callback(
      name, [&value] { value = false; }, text));
}

void CommandLine::Footer(const std::string& text) {
  command_->footer(text);
}

Option CommandLine::Get(const std::string& name) {
  return Option(*command_->get_option(name));
}

bool CommandLine::Has(const std::string& name) const {
  return command_->count(name) > 0;
}

std::vector<std::string> CommandLine::Given() const {
  std::vector<std::string> given;
  for (const CLI::Option* const option : command_->get_options()) {
    if (option->count() > 0) given.push_back(option->get_name());
  }
  return given;
}

void CommandLine::RequireNoneOf(Names options) const {
  for (const char* const option : options) {
    if (Has(option)) throw Failure(ExitCode::kUsage, OfOneSensor(option));
  }
}

void CommandLine::LetConfigReplace(Names options) {
  const CLI::Option* const config = command_->get_option("--config");
  Options replaced;
  for (const char* const name : options) replaced.push_back(command_->get_option(name));
  const Needs needs = TakeNeeds(*command_, replaced);
  command_->callback([config, replaced, needs] {
    if (!config->empty()) return RequireAlone(replaced);
    const CLI::Option* const first = replaced.front();
    if (first->empty()) throw CLI::RequiredError(first->get_name() + " or --config");
    RequireNeeds(needs);
  });
}

std::string CommandLine::Name() const {
  return command_->get_name();
}

bool CommandLine::IsUsed() const {
  return command_->parsed();
}

}  // namespace orliq::cli
