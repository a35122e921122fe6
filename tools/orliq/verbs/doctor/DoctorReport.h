// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/doctor/Examination.h"
#include "orliq/verbs/doctor/HealthFinding.h"

namespace orliq::cli {

/// What an examination means, sensor by sensor.
struct DiagnosedExamination {
  const Examination& examination;
  std::vector<std::string> names;  ///< of the sensors; an empty one of a sensor without
  std::vector<HealthFindings> sensors;
  HealthFindings machine;
  bool interrupted = false;

  std::size_t Count(Severity severity) const;

  /// 4 when a port cannot be had, 3 when of some sensor no packet of its model came, 5 for any other
  /// problem, or when it was interrupted.
  ExitCode Code() const;

  /// The text is 80 columns wide, but for commands and paths, and has colours when they show.
  Report MakeReport(bool colours) const;
};

}  // namespace orliq::cli
