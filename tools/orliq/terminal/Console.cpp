// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Console.h"

#include <iostream>

#include "orliq/terminal/StandardError.h"

namespace orliq::cli {

Console::Console(bool json) : json_(json), original_(std::cout.rdbuf(&nowhere_)), out_(original_) {}

Console::~Console() {
  std::cout.rdbuf(original_);
}

void Console::Print(const Report& report) {
  if (json_) {
    object_ = report.AsJson();
  } else {
    report.PrintText(out_);
    out_.flush();
  }
}

void Console::Fail(const std::string& command, ExitCode code, const std::string& sentence) {
  standard_error::PrintLine(command + ": " + sentence);
  object_["error"] = {{"code", static_cast<int>(code)}, {"message", sentence}};
}

bool Console::Finish() {
  // Paths may hold any bytes: those that are no UTF-8 are replaced.
  if (json_ && !object_.is_null()) {
    out_ << object_.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
  }
  object_ = nullptr;
  return static_cast<bool>(out_.flush());
}

void Console::ShowLibraryLines() {
  std::cout.rdbuf(&lines_);
}

void Console::Note(const std::string& sentence) const {
  if (!quiet_) standard_error::PrintLine("note: " + sentence);
}

Console::Lines::int_type Console::Lines::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char letter = traits_type::to_char_type(c);
  return xsputn(&letter, 1) == 1 ? c : traits_type::eof();
}

std::streamsize Console::Lines::xsputn(const char* text, std::streamsize size) {
  const std::lock_guard lock(mutex_);
  for (std::streamsize i = 0; i < size; ++i) {
    if (text[i] == '\n') {
      standard_error::PrintLine(line_);
      line_.clear();
    } else {
      line_ += text[i];
    }
  }
  return size;
}

}  // namespace orliq::cli
