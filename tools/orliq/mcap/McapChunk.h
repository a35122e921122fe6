// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orliq::cli {

/// One message, as it is written.
struct McapMessage {
  std::uint16_t channel = 0;
  std::uint32_t sequence = 0;      ///< of its channel, from 0
  std::uint64_t log_time = 0;      ///< [ns] since 1970-01-01 UTC
  std::uint64_t publish_time = 0;  ///< likewise
  std::string_view data;
};

/// Appends a message to a text that holds others, so that a large one is not copied.
using McapAppend = std::function<void(std::string&)>;

/// What a summary tells of a chunk.
struct McapChunkPlace {
  std::uint64_t first_time = 0;                    ///< [ns] least log time
  std::uint64_t last_time = 0;                     ///< [ns] greatest log time
  std::uint64_t offset = 0;                        ///< of its record in the file
  std::uint64_t bytes = 0;                         ///< of its record
  std::map<std::uint16_t, std::uint64_t> indexes;  ///< offset of each channel's index in the file
  std::uint64_t index_bytes = 0;                   ///< of them all, behind the chunk
  std::string compression;
  std::uint64_t compressed_bytes = 0;
  std::uint64_t plain_bytes = 0;
};

/// Messages that become one chunk of the file.
class McapChunk {
 public:
  explicit McapChunk(bool compress) : compress_(compress) { Clear(); }

  /// A message whose data are what `append` appends. None when that throws.
  void Add(const McapMessage& message, const McapAppend& append);
  void Clear();

  bool Empty() const { return entries_.empty(); }
  std::uint64_t Bytes() const { return end_ - head_; }
  std::uint64_t MessagesOf(std::uint16_t channel) const;

  /// The chunk's record with the indexes behind it, as they stand at `offset` in the file.
  struct Packed {
    std::string_view bytes;  ///< valid until the chunk changes
    std::uint32_t crc;       ///< of them
    McapChunkPlace place;
  };
  Packed Pack(std::uint64_t offset);

 private:
  using Entry = std::pair<std::uint64_t, std::uint64_t>;  // log time, place among the plain bytes

  std::string Head(std::uint32_t crc, std::uint64_t content_bytes) const;
  void AppendIndexes(std::string& to, McapChunkPlace& place) const;

  const bool compress_;
  std::size_t head_ = 0;  // [bytes] kept free for the head of an uncompressed chunk
  std::size_t end_ = 0;   // of the plain records, for Pack puts the indexes behind them
  std::string bytes_;     // that room, and the plain records
  std::string packed_;    // the record in compressed form
  std::map<std::uint16_t, std::vector<Entry>> entries_;
  std::uint64_t first_time_ = 0;
  std::uint64_t last_time_ = 0;
};

}  // namespace orliq::cli
