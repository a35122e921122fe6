// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include "orliq/terminal/CommandLine.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {

/// --params-from beside --check-folder, which must be there already, with --params-local-port and
/// --lenient.
void AddUploadOptions(CommandLine& command, std::optional<std::string>& params_from,
                      UploadRequest& upload);

/// Throws Failure for options of an upload that nobody asked for: neither --params-from nor, with
/// `from_file`, a file of sensors.
void RequireUpload(const std::optional<std::string>& params_from, const UploadRequest& upload,
                   bool from_file);

}  // namespace orliq::cli
