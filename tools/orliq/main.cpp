// SPDX-License-Identifier: Apache-2.0
#include <CLI/App.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/terminal/HelpText.h"
#include "orliq/verbs/Verbs.h"

namespace {

using orliq::cli::Console;
using orliq::cli::ExitCode;
using orliq::cli::Failure;
using orliq::cli::Verb;

/// "simulate, info or play".
std::string VerbNames(const std::vector<Verb>& verbs) {
  std::string names = verbs.front().command.Name();
  for (std::size_t i = 1; i < verbs.size(); ++i) {
    names += (i + 1 < verbs.size() ? ", " : " or ") + verbs[i].command.Name();
  }
  return names;
}

ExitCode Fail(Console& console, const std::string& command, ExitCode code,
              const std::string& sentence) {
  console.Fail(command, code, sentence);
  return code;
}

ExitCode RunVerb(const Verb& verb, Console& console) {
  const std::string command = "orliq " + verb.command.Name();
  try {
    return verb.run(console);
  } catch (const Failure& failure) {
    return Fail(console, command, failure.Code(), failure.what());
  } catch (const std::exception& fault) {
    return Fail(console, command, ExitCode::kInternalFault,
                std::string("internal fault: ") + fault.what());
  }
}

ExitCode UsageError(const CLI::App& app, const std::vector<Verb>& known,
                    const CLI::ParseError& error, Console& console) {
  if (error.get_exit_code() == 0) {  // --help, --version
    std::ostringstream text;
    app.exit(error, text, std::cerr);
    std::cout << orliq::cli::WrapHelp(text.str());
    return ExitCode::kDone;
  }
  const auto verbs = app.get_subcommands();
  const auto words = app.remaining();
  const auto word = std::find_if(words.begin(), words.end(), [](const std::string& text) {
    return text.rfind('-', 0) != 0;  // no option, such as --json
  });
  if (verbs.empty() && word != words.end()) {
    return Fail(console, "orliq", ExitCode::kUsage,
                "there is no verb " + *word + ": use " + VerbNames(known));
  }
  const std::string command = verbs.empty() ? "orliq" : "orliq " + verbs.front()->get_name();
  std::string sentence = verbs.empty() ? "name a verb: " + VerbNames(known) : error.what();
  sentence.erase(sentence.find_last_not_of(".\n") + 1);
  return Fail(console, command, ExitCode::kUsage, sentence + ". Try: " + command + " --help");
}

ExitCode Run(int argc, char** argv, Console& console) {
  orliq::cli::Program program = orliq::cli::MakeProgram();
  const auto verbs = orliq::cli::AddVerbs(program);
  CLI::App& app = program.App();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return UsageError(app, verbs, error, console);
  }
  for (const Verb& verb : verbs) {
    if (verb.command.IsUsed()) return RunVerb(verb, console);
  }
  return ExitCode::kInternalFault;
}

/// Looked for before the command line is understood, as a line that makes no sense is reported too.
bool WantsJson(int argc, char** argv) {
  return std::find(argv, argv + argc, std::string_view("--json")) != argv + argc;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a limit on file sizes then is a failed write, as a full disk is
  try {
    Console console(WantsJson(argc, argv));
    ExitCode code = Run(argc, argv, console);
    if (!console.Finish()) {
      code = Fail(console, "orliq", ExitCode::kFileFault, "standard output cannot be written");
    }
    return static_cast<int>(code);
  } catch (const std::exception& fault) {
    std::cerr << std::string("orliq: ") + fault.what() + '\n';
    return static_cast<int>(ExitCode::kInternalFault);
  }
}
