// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_set>

namespace orliq::lidar {

/// Knows the pieces of an upload that were taken, to tell a late copy of one from the next piece.
///
/// Tables may hold the same piece twice, such as those of a regular grid. So a piece that is known is
/// believed once it has come more often than there can be copies on the way: those of requests without
/// a reply, and two that the network has made.
///
/// Threads: none of its own and no lock.
class PieceMemory {
 public:
  /// A request has left, or anything has come: how many replies can still come.
  void NoteRequest() { ++unanswered_; }
  void NoteReply() { unanswered_ -= unanswered_ > 0 ? 1 : 0; }

  /// Whether the piece is to be taken for a copy of an earlier one. One whose words are all the same
  /// never is.
  bool IsCopy(const signed char* piece, std::size_t size);

  /// The piece was taken: another one is asked for now.
  void Take(const signed char* piece, std::size_t size);

  /// Whether a copy of the piece that was taken last would be known.
  bool KnowsLast() const { return knows_last_; }

 private:
  std::unordered_set<std::uint64_t> known_;  // sums of the pieces
  std::uint64_t unanswered_ = 0;             // requests
  std::uint64_t possible_ = 0;               // copies, when the present piece was first asked for
  std::uint64_t refused_ = 0;                // copies, since then
  bool knows_last_ = false;
};

}  // namespace orliq::lidar
