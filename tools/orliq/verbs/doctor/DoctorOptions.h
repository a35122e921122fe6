// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {

/// The command line of the verb doctor.
struct DoctorOptions {
  std::string model;
  std::optional<std::string> check_folder;
  std::uint16_t port = 0;
  std::string address;
  std::string source;
  std::optional<std::string> params_from;
  UploadRequest upload;
  std::string config;  ///< of several sensors; empty: of one, by the options above
  double seconds = 5.0;
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunDoctor(const DoctorOptions& options, Console& console);

}  // namespace orliq::cli
