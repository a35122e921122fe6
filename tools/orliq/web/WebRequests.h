// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libwebsockets.h>

#include <string>
#include <string_view>
#include <vector>

#include "orliq/web/WebServer.h"

// What the server reads of a request and answers, while its headers are there.
namespace orliq::cli {

constexpr int kBadRequest = 400;
constexpr int kForbidden = 403;
constexpr int kNotFound = 404;
constexpr int kWrongMethod = 405;
constexpr int kTooManyClients = 503;

/// Its text; empty when the request has none.
std::string Header(lws* socket, lws_token_indexes header);

/// Whether the header, a list with commas, has that element.
bool Lists(lws* socket, lws_token_indexes header, std::string_view element);

/// As WebAccess.
std::string WhyRefused(lws* socket, const WebSettings& settings);

/// Says why; what a callback returns for it, which ends the connection.
int Refuse(lws* socket, int status, const std::string& why);

/// Sends the headers of an answer with that file, by way of `scratch`; false when the connection is lost.
bool SendHeaders(lws* socket, const WebFile& file, std::vector<unsigned char>& scratch);

}  // namespace orliq::cli
