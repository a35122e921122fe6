// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orliq::cli {

enum class Severity : std::uint8_t {
  kOk,       ///< looked at and good
  kNote,     ///< worth knowing; nothing is lost by it now
  kProblem,  ///< points are missing or wrong
};

/// A word for scripts: "ok", "note" or "problem".
const char* SeverityName(Severity severity);

/// One thing that was found out about a sensor or the machine.
struct HealthFinding {
  Severity severity = Severity::kOk;
  std::string kind;                        ///< a word for scripts, such as "port_taken"
  std::string text;                        ///< what it is, in a sentence without a full stop
  std::string evidence = {};               ///< what was seen of it, with numbers; may be empty
  std::string advice = {};                 ///< what to do; may be empty
  std::vector<std::string> commands = {};  ///< to type for it, each whole
};

using HealthFindings = std::vector<HealthFinding>;

}  // namespace orliq::cli
