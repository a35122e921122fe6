// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewSite.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>

#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/StandardError.h"
#include "orliq/verbs/view/ViewPage.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): where the system has it

namespace orliq::cli {
namespace {

/// What a desktop opens an address with. It is left to itself: the Ctrl-C of this terminal does not end a
/// browser, and whoever reads our output does not wait for it.
void OpenInBrowser(const std::string& url, const Console& console) {
  std::string program = "xdg-open";
  std::string argument = url;
  const std::array<char*, 3> arguments = {program.data(), argument.data(), nullptr};
  posix_spawn_file_actions_t files = {};
  ::posix_spawn_file_actions_init(&files);
  for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    ::posix_spawn_file_actions_addopen(&files, file, "/dev/null", O_RDWR, 0);
  }
  posix_spawnattr_t session = {};
  ::posix_spawnattr_init(&session);
  ::posix_spawnattr_setflags(&session, POSIX_SPAWN_SETSID);
  pid_t child = 0;
  if (::posix_spawnp(&child, program.c_str(), &files, &session, arguments.data(), environ) != 0) {
    console.Note("--open finds no xdg-open here: open the address in a browser yourself");
  }
  ::posix_spawnattr_destroy(&session);
  ::posix_spawn_file_actions_destroy(&files);
}

}  // namespace

ViewSite::ViewSite(const ViewOptions& options, const ViewedSource& source, const Console& console)
    : hub_(HelloText(source)) {
  if (options.foxglove.port) {
    foxglove_ = std::make_unique<ViewFoxglove>(options.foxglove, source);
    hub_.SetGuests(foxglove_.get());
  }
  Serve(options.page, console);
}

void ViewSite::Serve(const PageOptions& options, const Console& console) {
  WebSettings settings;
  settings.address = options.address;
  settings.port = options.port;
  if (!IsLoopback(options.address)) settings.rules.token = MakeToken();
  settings.stream = kViewStream;
  settings.files = ViewPageFiles();
  const std::string query = settings.rules.token.empty() ? "" : "?token=" + settings.rules.token;
  server_ = std::make_unique<WebServer>(std::move(settings), hub_);
  hub_.SetServer(server_.get());
  const std::string url =
      "http://" + HostOf(options.address) + ':' + std::to_string(server_->Port()) + '/' + query;
  standard_error::PrintLine("view: " + url);
  if (options.open && query.empty()) OpenInBrowser(url, console);
  if (options.open && !query.empty()) {
    // Whoever is logged in here can list the programs that run, with their arguments.
    console.Note(
        "--open: the address holds a token, which every user of this machine could read from the "
        "browser's command line: open it yourself");
  }
}

ViewSite::~ViewSite() {
  hub_.TellEnd(EndText("orliq view has ended"));
  hub_.SetServer(nullptr);
  server_.reset();
}

void ViewSite::AddRows(Report& report) const {
  const ViewHub::Sums sums = hub_.Read();
  report.Add("frames_shown", "Shown", sums.frames, Count(sums.frames, "frame"));
  report.Add("pages", "Pages", sums.most_pages,
             Count(sums.sent, "frame") + " to at most " + Count(sums.most_pages, "page") +
                 " at once, " + Grouped(sums.skipped) + " skipped");
  report.Add("frames_sent", "", sums.sent, "");
  report.Add("frames_skipped", "", sums.skipped, "");
  if (foxglove_) foxglove_->AddRows(report);
}

}  // namespace orliq::cli
