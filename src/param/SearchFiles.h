// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orliq::lidar {

/// Appends the path of every entry of `folder` that is not a directory to `files`, in the order in
/// which the file system returns them, and prints one line for each. Links count as what they lead
/// to, so a link to a directory is left out and a dangling link is listed; names are plain bytes.
///
/// Never throws and opens no entry. False when the folder cannot be read, or only in part; what was
/// read until then stays in `files`.
bool SearchFiles(const std::string& folder, std::vector<std::string>& files);

}  // namespace orliq::lidar
