// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// Where a diagnostic line stands as long as no sink is set.
enum class DiagnosticStream : std::uint32_t {
  Output = 0,  ///< std::cout
  Error = 1,   ///< std::cerr
};

/// Receives one line as it would stand on its stream, colour codes included, without the newline.
using DiagnosticSink = std::function<void(const std::string& line, DiagnosticStream stream)>;

/// Hands every diagnostic line of the library to `sink` instead of the streams, for all drivers of
/// the process; an empty function restores the streams, which are the state at first. On a stream,
/// lines never mix with each other and each is flushed.
///
/// Threads: may be called from any thread at any time, also from inside the sink. The sink is called
/// on the thread that has something to say, by several at a time, and no lock of the library is held
/// meanwhile. When this function returns, the sink before is not running, will not be called again
/// and is destroyed; so do not hold a lock here that the sink takes, and let no sink wait for a thread
/// that calls this. Called from inside a sink it waits for nobody: calls that are under way on other
/// threads may still end later. A stream buffer, in contrast, is written to under a lock: it must not
/// call the library.
/// Failure: a line that a sink causes itself goes to its stream, and so does one whose sink throws;
/// the exception ends there.
ORLIQ_API void SetDiagnosticSink(DiagnosticSink sink);

}  // namespace orliq::lidar
