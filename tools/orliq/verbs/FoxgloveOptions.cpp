// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/FoxgloveOptions.h"

#include <algorithm>
#include <memory>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/StandardError.h"
#include "orliq/web/TcpPort.h"

namespace orliq::cli {
namespace {

bool IsCapital(char sign) {
  return sign >= 'A' && sign <= 'Z';
}

/// It is to be as a browser tells it, or nobody will ever be it.
std::string OriginFault(const std::string& text) {
  const std::size_t scheme = text.find("://");
  const bool whole = scheme != std::string::npos && scheme > 0 && scheme + 3 < text.size() &&
                     text.find('/', scheme + 3) == std::string::npos;
  const bool good = whole && std::none_of(text.begin(), text.end(), IsCapital);
  return good || text == "*" || text == "null"
             ? std::string()
             : "must be as a browser tells it, such as https://app.example.org: without a path, in "
               "lower case; or \"*\" for all; not \"" +
                   text + '"';
}

}  // namespace

void AddFoxgloveOptions(CommandLine& command, FoxgloveOptions& options) {
  command
      .Add("--foxglove", options.port,
           "TCP port for viewers that speak the Foxglove WebSocket protocol, usually 8765; 0 takes "
           "any that is free")
      .Within(0, 65535);
  command
      .Add("--foxglove-listen", options.address,
           "IPv4 address of this machine for them; beyond the loopback interface everybody who "
           "reaches it can connect, without a password")
      .Address()
      .ShowDefault();
  command
      .Add("--foxglove-origin", options.origins,
           "let in the pages of this origin too, which are refused unless they are of this "
           "machine; repeat it for several, \"*\" for all of them")
      .Check(OriginFault)
      .OneValueEach();
}

void RequireFoxglove(const CommandLine& command) {
  if (command.Has("--foxglove")) return;
  for (const char* const option : {"--foxglove-listen", "--foxglove-origin"}) {
    if (!command.Has(option)) continue;
    throw Failure(ExitCode::kUsage, std::string(option) + " is of no use without --foxglove PORT");
  }
}

void RequireFoxglovePort(const FoxgloveOptions& options) {
  if (options.port) RequireTcpPort(options.address, *options.port);
}

std::unique_ptr<FoxgloveOutlet> MakeFoxglove(const FoxgloveOptions& options, bool keeps_last) {
  if (!options.port) return nullptr;
  return std::make_unique<FoxgloveOutlet>(
      FoxgloveSettings{options.address, *options.port, options.origins, keeps_last});
}

void OpenFoxglove(FoxgloveOutlet& outlet) {
  standard_error::PrintLine("foxglove: " + outlet.Listen());
}

void AddFoxgloveRows(Report& report, const FoxgloveOutlet::Sums& sums) {
  report.Add("foxglove_viewers", "Foxglove", sums.most_viewers,
             Count(sums.sent, "message") + " to at most " + Count(sums.most_viewers, "viewer") +
                 " at once, " + Grouped(sums.left_out) + " left out");
  report.Add("foxglove_sent", "", sums.sent, "");
  report.Add("foxglove_left_out", "", sums.left_out, "");
}

}  // namespace orliq::cli
