// SPDX-License-Identifier: Apache-2.0
#include "orliq/manual/Documents.h"

#include <CLI/App.hpp>
#include <CLI/Formatter.hpp>
#include <cctype>
#include <sstream>

#include "multi_driver/Version.h"

namespace orliq::cli {
namespace {

/// Text of one line: no sign of it means something to man, and a hyphen can be copied to a shell.
std::string Plain(const std::string& text) {
  std::string plain;
  for (const char sign : text) {
    if (sign == '\\') {
      plain += "\\e";
    } else if (sign == '-') {
      plain += "\\-";
    } else {
      plain += sign;
    }
  }
  const bool command = !plain.empty() && (plain.front() == '.' || plain.front() == '\'');
  return (command ? "\\&" : "") + plain;
}

/// Paragraphs are filled; lines that begin with blanks are tables and examples, and stay as they are.
std::string Paragraphs(const std::string& text) {
  std::istringstream lines(text);
  std::string page;
  bool fixed = false;
  for (std::string line; std::getline(lines, line);) {
    const bool indented = line.rfind("  ", 0) == 0;
    if (indented != fixed && !line.empty()) page += (fixed = indented) ? ".PP\n.nf\n" : ".fi\n";
    page += line.empty() ? ".PP\n" : Plain(line) + '\n';
  }
  return page + (fixed ? ".fi\n" : "");
}

/// The first letter small and without the full stop, as in a list of pages.
std::string Headline(std::string sentence) {
  sentence.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence.front())));
  sentence.erase(sentence.find_last_not_of('.') + 1);
  return Plain(sentence);
}

std::string OptionEntry(const CLI::Option& option) {
  const std::string value = CLI::Formatter().make_option_opts(&option);
  return ".TP\n\\fB" + Plain(option.get_name(option.get_positional(), true)) + "\\fR" +
         Plain(value) + '\n' + Plain(option.get_description()) + '\n';
}

std::string OptionsOf(const CLI::App& command) {
  std::string page;
  for (const CLI::Option* option :
       command.get_options([](const CLI::Option* any) { return any->get_positional(); })) {
    page += OptionEntry(*option);
  }
  for (const std::string& group : command.get_groups()) {
    if (group.empty()) continue;  // hidden
    const auto options = command.get_options(
        [&](const CLI::Option* any) { return any->get_group() == group && any->nonpositional(); });
    if (group != "Options" && !options.empty()) page += ".PP\n" + Plain(group) + ":\n";
    for (const CLI::Option* option : options) page += OptionEntry(*option);
  }
  return page;
}

std::string VerbSection(const CLI::App& verb) {
  std::string usage = "orliq " + verb.get_name();
  for (const CLI::Option* option :
       verb.get_options([](const CLI::Option* any) { return any->get_positional(); })) {
    usage += ' ' + option->get_name(true);
  }
  return ".SS " + Plain(usage) + " [OPTIONS]\n" + Paragraphs(verb.get_description()) +
         OptionsOf(verb) + ".PP\n" + Paragraphs(verb.get_footer());
}

}  // namespace

std::vector<const CLI::App*> VerbsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string ManPage(const CLI::App& app) {
  std::string page = ".TH ORLIQ 1 \"\" \"orliq " ORLIQ_VERSION "\" \"User Commands\"\n";
  page += ".SH NAME\norliq \\- " + Headline(app.get_description()) + '\n';
  page += ".SH SYNOPSIS\n.B orliq\n.I VERB\n[OPTIONS]\n";
  page += ".SH DESCRIPTION\n" + Paragraphs(app.get_footer());
  page += ".SH OPTIONS\n" + OptionsOf(app) + ".SH VERBS\n";
  for (const CLI::App* verb : VerbsOf(app)) page += VerbSection(*verb);
  return page;
}

}  // namespace orliq::cli
