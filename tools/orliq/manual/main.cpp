// SPDX-License-Identifier: Apache-2.0
// Prints a document about orliq that the build installs beside it.
#include <iostream>
#include <string_view>

#include "orliq/manual/Documents.h"
#include "orliq/verbs/Verbs.h"

int main(int argc, char** argv) {
  const std::string_view document = argc == 2 ? argv[1] : "";
  orliq::cli::Program program = orliq::cli::MakeProgram();
  orliq::cli::AddVerbs(program);
  if (document == "page") {
    std::cout << orliq::cli::ManPage(program.App());
  } else if (document == "completion") {
    std::cout << orliq::cli::BashCompletion(program.App());
  } else {
    std::cerr << "usage: orliq_manual page|completion\n";
    return 2;
  }
  return std::cout.flush() ? 0 : 1;
}
