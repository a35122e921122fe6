// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/UploadOptions.h"

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

void AddUploadOptions(CommandLine& command, std::optional<std::string>& params_from,
                      UploadRequest& upload) {
  command
      .Add("--params-from", params_from,
           "HOST:PORT of the sensor, to fetch its calibration while packets come; frames count "
           "from the first one on that is decoded with it")
      .Excludes(command.Get("--check-folder"));
  command
      .Add("--params-local-port", upload.local_port,
           "UDP port of this machine for --params-from; any that is free without it")
      .Within(1, 65535);
  command.AddFlag(
      "--lenient", upload.lenient,
      "take replies with calibration as they come: from another address or port, of other lengths");
}

void RequireUpload(const std::optional<std::string>& params_from, const UploadRequest& upload,
                   bool from_file) {
  if (upload.local_port != 0 && !params_from) {
    throw Failure(ExitCode::kUsage, "--params-local-port needs --params-from");
  }
  if (upload.lenient && !from_file && !params_from) {
    throw Failure(ExitCode::kUsage, "--lenient needs --params-from or --config");
  }
}

}  // namespace orliq::cli
