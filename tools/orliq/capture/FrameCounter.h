// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
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

/// What lies in a frame of a capture; a packet with a frame mark counts for the frame that it begins
/// or ends, as FrameMark says.
struct FrameRecords {
  std::uint64_t packets = 0;     ///< of the model's length and identifier
  std::uint64_t length = 0;      ///< datagrams of another length, which the driver refuses (0x41)
  std::uint64_t identifier = 0;  ///< of the right length, with another identifier (0x42)
  LostRecords unreadable;        ///< whose datagrams do not reach the decoder as they were sent
  bool falsely_bound = false;    ///< a mark bounds it that tells of no frame's beginning
};

/// Frames `first` to before `last` are whole, as far as a capture can tell. What precedes the first
/// mark is the rest of a frame when it has clearly fewer packets than the frames between two marks.
/// What follows the last mark is the beginning of one; of models whose mark comes first it may be
/// whole likewise. Between them a frame that lost packets stays whole, but not a torn one. Without a
/// mark there is no frame at all, nor for a model that delivers none.
struct WholeFrames {
  int first = 0;
  int last = 0;
  std::set<int> torn =
      {};  ///< pieces that packets out of order, or of two sensors, made of a frame

  bool Holds(int frame) const { return frame >= first && frame < last && torn.count(frame) == 0; }
};
WholeFrames FindWholeFrames(const std::vector<FrameRecords>& frames, const Model& model);

/// The same in numbers that can be summed up.
struct FrameSums {
  std::uint64_t whole = 0;
  std::uint64_t packets_before = 0;  ///< of the rest of a frame at the beginning
  std::uint64_t packets_after = 0;   ///< behind the last whole frame
  std::uint64_t torn = 0;            ///< pieces of frames

  void Add(const std::vector<FrameRecords>& frames, const Model& model);
};

/// Finds the frames in the packets of one model, numbered as the driver numbers them: a frame begins
/// with the first datagram, and with or behind each frame mark.
class FrameCounter {
 public:
  explicit FrameCounter(const Model& model);

  /// A counter for the packets of another sensor of the model.
  FrameCounter ForAnotherFlow() const;

  /// Takes a record that is wanted, whether or not the driver can read it.
  void Add(const UdpRecord& record);

  /// The frames so far; behind the last mark there is always one more, which may be empty.
  const std::vector<FrameRecords>& Frames() const { return frames_; }

 private:
  using Decoder = lidar::Decoder<PointCloud<Point>>;

  FrameCounter(const Model& model, std::shared_ptr<Decoder> decoder);
  void AddDatagram(const Datagram& datagram);
  void AddPacket(bool mark, bool first);
  bool IsFalseBound(const std::uint8_t* payload, bool bounds);

  const Model* model_;
  std::shared_ptr<Decoder> decoder_;
  bool first_ = true;  // no datagram has come
  int line_ = 0;       // of a Corvik's packet before
  std::vector<FrameRecords> frames_ = {{}};
};

}  // namespace orliq::cli
