// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::lidar {

/// Where a frame begins in the capture file.
struct FramePosPackage {
  FramePosPackage(long at, unsigned short split) : position(at), split_value(split) {}
  long position;               // file offset of the record that holds the frame's first block
  unsigned short split_value;  // first block of the frame in that record
};

}  // namespace orliq::lidar
