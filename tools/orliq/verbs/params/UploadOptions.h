// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {

/// --params-from beside --check-folder, which must be there already, with --params-local-port and
/// --lenient.
void AddUploadOptions(CLI::App& command, std::optional<std::string>& params_from,
                      UploadRequest& upload);

}  // namespace orliq::cli
