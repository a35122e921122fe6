// SPDX-License-Identifier: Apache-2.0
// In place of the web server, for a program that is built without the library it stands on.
#include "orliq/terminal/ExitCode.h"
#include "orliq/web/TcpPort.h"
#include "orliq/web/WebServer.h"

namespace orliq::cli {

class WebServer::Loop {};

void RequireTcpPort(const std::string& /*address*/, std::uint16_t /*port*/) {
  throw Failure(ExitCode::kUsage,
                "this orliq was built without a web server: install libwebsockets-dev and build it "
                "again");
}

WebServer::WebServer(WebSettings /*settings*/, WebHandler& /*handler*/) {
  RequireTcpPort({}, 0);
}

WebServer::~WebServer() = default;

std::uint16_t WebServer::Port() const {
  return 0;
}

void WebServer::Wake() {}

}  // namespace orliq::cli
