// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace orliq::cli {

/// What the program tells the shell. Scripts rely on the numbers.
enum class ExitCode : int {
  kDone = 0,
  kUsage = 2,          ///< the command line makes no sense
  kNoData = 3,         ///< nothing in the source belongs to the sensor
  kFileFault = 4,      ///< a file cannot be read or written, or is malformed
  kLosses = 5,         ///< done, but something is refused, missing or suspicious
  kInternalFault = 70  ///< the program itself is at fault
};

/// Ends a verb: `what` is one sentence for the user that says what to do.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& what) : std::runtime_error(what), code_(code) {}
  ExitCode Code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace orliq::cli
