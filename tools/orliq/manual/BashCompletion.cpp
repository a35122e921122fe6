// SPDX-License-Identifier: Apache-2.0
#include <CLI/App.hpp>

#include "orliq/manual/Documents.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {
namespace {

constexpr char kBegin[] = R"(# Bash completion of orliq, made from its options.
_orliq() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=
  [ "$word" = = ] && word=
  [ "$before" = = ] && before=${COMP_WORDS[COMP_CWORD - 2]}  # --model=juniq is three words
  if [ "$COMP_CWORD" = 1 ]; then
    words=')";

constexpr char kEnd[] = R"(    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _orliq orliq  # by default, names of files
)";

/// "-h --help ..." of all options, or of those that take a value.
std::vector<std::string> OptionNames(const CLI::App& command, bool with_value_only) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options()) {
    if (with_value_only && option->get_items_expected_max() == 0) continue;
    for (const std::string& name : option->get_snames()) names.push_back('-' + name);
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

/// The words that an option takes: those its help shows in braces, or the models if it lists them.
std::string WordsOf(const CLI::Option& option) {
  std::string words;
  const std::string type = option.get_type_name();
  const std::size_t open = type.find('{');
  if (open != std::string::npos) {
    words = type.substr(open + 1, type.find('}') - open - 1);
  } else if (option.get_description().find(ModelNames()) != std::string::npos) {
    words = ModelNames();
  }
  for (char& sign : words) {
    if (sign == ',') sign = ' ';
  }
  return words;
}

/// One line for each option that takes certain words; for the other values there are names of files.
std::string Cases(const CLI::App& verb) {
  const std::string begin = "      " + verb.get_name() + ':';
  std::string lines;
  for (const CLI::Option* option : verb.get_options()) {
    const std::string words = WordsOf(*option);
    if (words.empty()) continue;
    lines.append(begin).append(option->get_name()).append(") words='").append(words);
    lines.append("' ;;\n");
  }
  for (const std::string& name : OptionNames(verb, true)) {
    lines.append(begin).append(name).append(") ;;\n");
  }
  const bool has_source =
      !verb.get_options([](const CLI::Option* any) { return any->get_positional(); }).empty();
  return lines + begin + "*) " + (has_source ? "[[ $word = -* ]] && " : "") + "words='" +
         CLI::detail::join(OptionNames(verb, false), " ") + "' ;;\n";
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
  std::string script = kBegin;
  for (const CLI::App* verb : VerbsOf(app)) script += verb->get_name() + ' ';
  script += CLI::detail::join(OptionNames(app, false), " ") + "'\n  else\n";
  script += "    case ${COMP_WORDS[1]}:$before in\n";
  for (const CLI::App* verb : VerbsOf(app)) script += Cases(*verb);
  return script + kEnd;
}

}  // namespace orliq::cli
