// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/McapChunk.h"

#include <algorithm>

#include "orliq/mcap/Crc32.h"
#include "orliq/mcap/McapFormat.h"
#include "orliq/mcap/Zstd.h"

namespace orliq::cli {
namespace {

constexpr char kZstd[] = "zstd";

}  // namespace

void McapChunk::Add(const McapMessage& message, const McapAppend& append) {
  bytes_.resize(end_);
  {
    McapRecordBytes record(bytes_, McapRecord::kMessage);
    record.Put(message.channel).Put(message.sequence);
    record.Put(message.log_time).Put(message.publish_time);
    append(bytes_);
  }
  if (Empty()) first_time_ = last_time_ = message.log_time;
  first_time_ = std::min(first_time_, message.log_time);
  last_time_ = std::max(last_time_, message.log_time);
  entries_[message.channel].emplace_back(message.log_time, Bytes());
  end_ = bytes_.size();
}

void McapChunk::Clear() {
  entries_.clear();
  first_time_ = last_time_ = 0;
  bytes_.clear();
  end_ = head_ = Head(0, 0).size();
  bytes_.resize(end_);
}

std::uint64_t McapChunk::MessagesOf(std::uint16_t channel) const {
  const auto found = entries_.find(channel);
  return found == entries_.end() ? 0 : found->second.size();
}

/// The chunk's record up to its content, which is that long.
std::string McapChunk::Head(std::uint32_t crc, std::uint64_t content_bytes) const {
  std::string head;
  McapBytes out(head);
  const std::string_view compression = compress_ ? kZstd : "";
  constexpr std::uint64_t kNumbers = 4 * sizeof(std::uint64_t) + 2 * sizeof(std::uint32_t);
  out.Put(static_cast<std::uint8_t>(McapRecord::kChunk));
  out.Put(kNumbers + compression.size() + content_bytes);
  out.Put(first_time_).Put(last_time_).Put(Bytes()).Put(crc);
  out.PutText(compression).Put(content_bytes);
  return head;
}

McapChunk::Packed McapChunk::Pack(std::uint64_t offset) {
  bytes_.resize(end_);
  const std::string_view plain = std::string_view(bytes_).substr(head_);
  const std::uint32_t plain_crc = Crc32(plain.data(), plain.size());
  std::string& record = compress_ ? packed_ : bytes_;
  if (compress_) {
    packed_.assign(head_, '\0');
    AppendZstd(plain, packed_);
  }
  const std::uint64_t content_bytes = record.size() - head_;
  const std::string head = Head(plain_crc, content_bytes);
  record.replace(0, head_, head);
  Packed packed = {{}, Crc32(head.data(), head_), {}};
  packed.place = {first_time_,   last_time_, offset, record.size(), {}, 0, compress_ ? kZstd : "",
                  content_bytes, Bytes()};
  const std::uint32_t content_crc =
      compress_ ? Crc32(record.data() + head_, content_bytes) : plain_crc;
  packed.crc = JoinCrc32(packed.crc, content_crc, content_bytes);
  AppendIndexes(record, packed.place);
  packed.crc = Crc32(record.data() + packed.place.bytes, packed.place.index_bytes, packed.crc);
  packed.bytes = record;
  return packed;
}

void McapChunk::AppendIndexes(std::string& to, McapChunkPlace& place) const {
  const std::size_t begin = to.size();
  for (const auto& [channel, entries] : entries_) {
    place.indexes[channel] = place.offset + to.size();
    McapRecordBytes record(to, McapRecord::kMessageIndex);
    record.Put(channel).Put(static_cast<std::uint32_t>(entries.size() * sizeof(Entry)));
    for (const auto& [time, at] : entries) record.Put(time).Put(at);
  }
  place.index_bytes = to.size() - begin;
}

}  // namespace orliq::cli
