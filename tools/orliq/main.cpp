// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <exception>
#include <iostream>

#include "orliq/terminal/Verb.h"

namespace {

using orliq::cli::Console;
using orliq::cli::ExitCode;
using orliq::cli::Failure;
using orliq::cli::Verb;

constexpr char kVerbNames[] = "simulate, info, play, live, record or send";

ExitCode Fail(const std::string& command, ExitCode code, const std::string& sentence) {
  std::cerr << command + ": " + sentence + '\n';
  return code;
}

ExitCode RunVerb(const Verb& verb, Console& console) {
  const std::string command = "orliq " + verb.command->get_name();
  try {
    const ExitCode code = verb.run(console);
    if (console.Out().flush()) return code;
    return Fail(command, ExitCode::kFileFault, "standard output cannot be written");
  } catch (const Failure& failure) {
    return Fail(command, failure.Code(), failure.what());
  } catch (const std::exception& fault) {
    return Fail(command, ExitCode::kInternalFault, std::string("internal fault: ") + fault.what());
  }
}

ExitCode UsageError(const CLI::App& app, const CLI::ParseError& error, Console& console) {
  if (error.get_exit_code() == 0) {  // --help, --version
    app.exit(error, console.Out(), std::cerr);
    return ExitCode::kDone;
  }
  const auto verbs = app.get_subcommands();
  if (verbs.empty() && !app.remaining().empty()) {
    return Fail("orliq", ExitCode::kUsage,
                "there is no verb " + app.remaining().front() + ": use " + kVerbNames);
  }
  const std::string command = verbs.empty() ? "orliq" : "orliq " + verbs.front()->get_name();
  std::string sentence = verbs.empty() ? std::string("name a verb: ") + kVerbNames : error.what();
  sentence.erase(sentence.find_last_not_of(".\n") + 1);
  return Fail(command, ExitCode::kUsage, sentence + ". Try: " + command + " --help");
}

ExitCode Run(int argc, char** argv, Console& console) {
  CLI::App app{
      "Simulates LiDAR sensors, receives their packets, examines, plays and sends captures."};
  app.name("orliq");
  app.set_version_flag("--version", ORLIQ_VERSION);
  app.require_subcommand(1);
  app.footer("orliq VERB --help shows the options of a verb and an example.");
  const Verb verbs[] = {orliq::cli::AddSimulate(app), orliq::cli::AddInfo(app),
                        orliq::cli::AddPlay(app),     orliq::cli::AddLive(app),
                        orliq::cli::AddRecord(app),   orliq::cli::AddSend(app)};
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return UsageError(app, error, console);
  }
  for (const Verb& verb : verbs) {
    if (verb.command->parsed()) return RunVerb(verb, console);
  }
  return ExitCode::kInternalFault;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes then is a failed write, as a full disk is
  try {
    Console console;
    return static_cast<int>(Run(argc, argv, console));
  } catch (const std::exception& fault) {
    return static_cast<int>(Fail("orliq", ExitCode::kInternalFault, fault.what()));
  }
}
