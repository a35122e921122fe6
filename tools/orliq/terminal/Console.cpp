// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Console.h"

#include <iostream>

#include "multi_driver/Diagnostics.h"
#include "orliq/terminal/PlainText.h"
#include "orliq/terminal/StandardError.h"

namespace orliq::cli {

Console::Console(bool json) : json_(json) {
  lidar::SetDiagnosticSink([](const std::string& line, lidar::DiagnosticStream stream) {
    if (stream == lidar::DiagnosticStream::Error) standard_error::PrintLine(line);
  });
}

Console::~Console() {
  lidar::SetDiagnosticSink(nullptr);
}

void Console::Print(const Report& report) {
  if (json_) {
    object_ = report.AsJson();
  } else {
    report.PrintText(std::cout);
    std::cout.flush();
  }
}

void Console::Fail(const std::string& command, ExitCode code, const std::string& sentence) {
  // It may quote names of files and what stands in them, and no terminal is to obey those.
  const std::string plain = PlainLines(sentence);
  standard_error::PrintLine(command + ": " + plain);
  object_["error"] = {{"code", static_cast<int>(code)}, {"message", plain}};
}

bool Console::Finish() {
  // Paths may hold any bytes: those that are no UTF-8 are replaced.
  if (json_ && !object_.IsNull()) {
    std::cout << object_.IndentedText(2) << '\n';
  }
  object_ = nullptr;
  return static_cast<bool>(std::cout.flush());
}

void Console::ShowLibraryLines() {
  lidar::SetDiagnosticSink([](const std::string& line, lidar::DiagnosticStream /*stream*/) {
    standard_error::PrintLine(line);
  });
}

void Console::Announce(const std::string& sentence) const {
  if (!quiet_) standard_error::PrintLine("note: " + PlainLines(sentence));
}

void Console::Note(const std::string& sentence) const {
  if (sentence.empty()) return;
  const std::string plain = PlainLines(sentence);
  if (!quiet_) standard_error::PrintLine("note: " + plain);
  if (listener_) listener_(plain);
}

}  // namespace orliq::cli
