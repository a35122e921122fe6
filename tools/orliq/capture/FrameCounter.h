// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "multi_driver/PointCloud.h"
#include "orliq/capture/UdpRecord.h"
#include "orliq/sensors/Models.h"

namespace orliq::lidar {
template <typename T_PointCloud>
class Decoder;
}

namespace orliq::cli {

/// Records that hold a datagram which is lost to the driver, by reason.
using LostRecords = std::map<Skip, std::uint64_t>;

/// What lies in a frame of a capture; a packet with a frame mark counts for the frame it ends.
struct FrameRecords {
  std::uint64_t packets = 0;     ///< of the model's length and identifier
  std::uint64_t length = 0;      ///< datagrams of another length, which the driver refuses (0x41)
  std::uint64_t identifier = 0;  ///< of the right length, with another identifier (0x42)
  LostRecords unreadable;        ///< whose datagrams do not reach the decoder as they were sent
};

/// Frames `first` to before `last` are whole, as far as a capture can tell: what precedes the first
/// mark is the rest of a frame when it has clearly fewer packets than the frames between two marks,
/// and what follows the last mark is the beginning of one. Without a mark there is no frame at all.
struct WholeFrames {
  int first = 0;
  int last = 0;

  bool Holds(int frame) const { return frame >= first && frame < last; }
};
WholeFrames FindWholeFrames(const std::vector<FrameRecords>& frames);

/// The same in numbers that can be summed up.
struct FrameSums {
  std::uint64_t whole = 0;
  std::uint64_t packets_before = 0;  ///< of the rest of a frame at the beginning
  std::uint64_t packets_after = 0;   ///< behind the last mark

  void Add(const std::vector<FrameRecords>& frames);
};

/// Finds the frames in the packets of one model, numbered as the driver numbers them: a frame begins
/// with the first datagram, and behind each frame mark.
class FrameCounter {
 public:
  /// `model` must be decodable.
  explicit FrameCounter(const Model& model);

  /// Takes a record that is wanted, whether or not the driver can read it.
  void Add(const UdpRecord& record);

  /// The frames so far; behind the last mark there is always one more, which may be empty.
  const std::vector<FrameRecords>& Frames() const { return frames_; }

 private:
  void AddDatagram(const Datagram& datagram);

  const Model* model_;
  std::shared_ptr<lidar::Decoder<PointCloud<Point>>> decoder_;
  bool first_ = true;  // no datagram has come
  std::vector<FrameRecords> frames_ = {{}};
};

}  // namespace orliq::cli
