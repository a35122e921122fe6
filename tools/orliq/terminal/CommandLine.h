// SPDX-License-Identifier: Apache-2.0
#pragma once

// What headers name of the command line library. The library itself, of which a file takes seconds to
// compile, is for the files that add options.
namespace CLI {  // NOLINT(readability-identifier-naming): its own name
class App;
class Option;
}  // namespace CLI
