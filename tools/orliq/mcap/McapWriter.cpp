// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/McapWriter.h"

#include <algorithm>
#include <utility>

#include "orliq/mcap/Crc32.h"

namespace orliq::cli {
namespace {

constexpr char kProfile[] = "ros2";
constexpr char kMessageEncoding[] = "cdr";

}  // namespace

McapWriter::McapWriter(Put put, bool compress, const std::string& program)
    : put_(std::move(put)), chunk_(compress) {
  std::string bytes(kMcapMagic);
  McapRecordBytes(bytes, McapRecord::kHeader).PutText(kProfile).PutText(program);
  PutAll(bytes, Crc32(bytes.data(), bytes.size()));
}

void McapWriter::PutAll(std::string_view bytes, std::uint32_t crc) {
  put_(bytes);
  bytes_ += bytes.size();
  crc_ = JoinCrc32(crc_, crc, bytes.size());
}

std::uint16_t McapWriter::AddChannel(const std::string& topic, const McapSchema& schema) {
  const std::uint16_t number = AddSchema(schema);
  channels_.push_back({number, topic});
  std::string bytes;
  AppendChannel(bytes, channels_.size() - 1);
  PutAll(bytes, Crc32(bytes.data(), bytes.size()));
  return static_cast<std::uint16_t>(channels_.size() - 1);
}

std::uint16_t McapWriter::AddSchema(const McapSchema& schema) {
  const auto known = std::find_if(schemas_.begin(), schemas_.end(),
                                  [&](const McapSchema& s) { return s.name == schema.name; });
  const auto number = static_cast<std::uint16_t>(known - schemas_.begin() + 1);
  if (known != schemas_.end()) return number;
  schemas_.push_back(schema);
  std::string bytes;
  AppendSchema(bytes, schemas_.size() - 1);
  PutAll(bytes, Crc32(bytes.data(), bytes.size()));
  return number;
}

void McapWriter::Add(std::uint16_t channel, std::uint64_t log_time, std::string_view data) {
  Add(channel, log_time, [data](std::string& to) { to.append(data); });
}

void McapWriter::Add(std::uint16_t channel, std::uint64_t log_time, const McapAppend& append) {
  chunk_.Add({channel, channels_[channel].next, log_time, log_time, {}}, append);
  ++channels_[channel].next;
}

void McapWriter::Flush() {
  if (chunk_.Empty()) return;
  McapChunk::Packed packed = chunk_.Pack(bytes_);
  PutAll(packed.bytes, packed.crc);
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    channels_[i].messages += chunk_.MessagesOf(static_cast<std::uint16_t>(i));
  }
  chunks_.push_back(std::move(packed.place));
  chunk_.Clear();
}

void McapWriter::Close() {
  Flush();
  std::string bytes;
  McapRecordBytes(bytes, McapRecord::kDataEnd).Put(crc_);
  bytes += Summary(bytes_ + bytes.size());
  PutAll(bytes, 0);  // no sum goes beyond the record that holds it
}

std::uint64_t McapWriter::Messages(std::uint16_t channel) const {
  return channels_[channel].messages;
}

void McapWriter::AppendSchema(std::string& to, std::size_t index) const {
  const McapSchema& schema = schemas_[index];
  McapRecordBytes(to, McapRecord::kSchema)
      .Put(static_cast<std::uint16_t>(index + 1))
      .PutText(schema.name)
      .PutText(schema.encoding)
      .PutText(schema.definition);
}

void McapWriter::AppendChannel(std::string& to, std::size_t index) const {
  McapRecordBytes(to, McapRecord::kChannel)
      .Put(static_cast<std::uint16_t>(index))
      .Put(channels_[index].schema)
      .PutText(channels_[index].topic)
      .PutText(kMessageEncoding)
      .Put(std::uint32_t{0});  // no further words on it
}

void McapWriter::AppendStatistics(std::string& to) const {
  std::uint64_t messages = 0;
  std::uint64_t first = chunks_.empty() ? 0 : chunks_.front().first_time;
  std::uint64_t last = 0;
  for (const Channel& channel : channels_) messages += channel.messages;
  for (const McapChunkPlace& chunk : chunks_) {
    first = std::min(first, chunk.first_time);
    last = std::max(last, chunk.last_time);
  }
  McapRecordBytes record(to, McapRecord::kStatistics);
  record.Put(messages).Put(static_cast<std::uint16_t>(schemas_.size()));
  record.Put(static_cast<std::uint32_t>(channels_.size()));
  record.Put(std::uint32_t{0}).Put(std::uint32_t{0});  // attachments, metadata
  record.Put(static_cast<std::uint32_t>(chunks_.size())).Put(first).Put(last);
  constexpr std::size_t kEntry = sizeof(std::uint16_t) + sizeof(std::uint64_t);
  record.Put(static_cast<std::uint32_t>(channels_.size() * kEntry));
  for (std::size_t i = 0; i < channels_.size(); ++i) {
    record.Put(static_cast<std::uint16_t>(i)).Put(channels_[i].messages);
  }
}

void McapWriter::AppendChunkIndex(std::string& to, const McapChunkPlace& chunk) {
  McapRecordBytes record(to, McapRecord::kChunkIndex);
  record.Put(chunk.first_time).Put(chunk.last_time).Put(chunk.offset).Put(chunk.bytes);
  constexpr std::size_t kEntry = sizeof(std::uint16_t) + sizeof(std::uint64_t);
  record.Put(static_cast<std::uint32_t>(chunk.indexes.size() * kEntry));
  for (const auto& [channel, offset] : chunk.indexes) record.Put(channel).Put(offset);
  record.Put(chunk.index_bytes).PutText(chunk.compression);
  record.Put(chunk.compressed_bytes).Put(chunk.plain_bytes);
}

/// All that stands behind the end of the data, when that is at `offset`.
std::string McapWriter::Summary(std::uint64_t offset) const {
  std::string bytes;
  std::vector<Group> groups;
  const auto add = [&](McapRecord kind, std::size_t count, const auto& append) {
    const std::size_t begin = bytes.size();
    for (std::size_t i = 0; i < count; ++i) append(i);
    if (count > 0) groups.push_back({kind, offset + begin, bytes.size() - begin});
  };
  add(McapRecord::kSchema, schemas_.size(), [&](std::size_t i) { AppendSchema(bytes, i); });
  add(McapRecord::kChannel, channels_.size(), [&](std::size_t i) { AppendChannel(bytes, i); });
  add(McapRecord::kStatistics, 1, [&](std::size_t) { AppendStatistics(bytes); });
  add(McapRecord::kChunkIndex, chunks_.size(),
      [&](std::size_t i) { AppendChunkIndex(bytes, chunks_[i]); });
  AppendEnd(bytes, offset, groups);
  return bytes;
}

/// Behind a summary that begins at `offset`: where its groups stand, and how a file ends.
void McapWriter::AppendEnd(std::string& to, std::uint64_t offset,
                           const std::vector<Group>& groups) {
  const std::uint64_t offsets = offset + to.size();
  for (const Group& group : groups) {
    McapRecordBytes(to, McapRecord::kSummaryOffset)
        .Put(static_cast<std::uint8_t>(group.kind))
        .Put(group.begin)
        .Put(group.bytes);
  }
  // The sum goes over the footer too, up to where it stands itself.
  constexpr std::uint64_t kFooterBytes = 2 * sizeof(std::uint64_t) + sizeof(std::uint32_t);
  McapBytes out(to);
  out.Put(static_cast<std::uint8_t>(McapRecord::kFooter)).Put(kFooterBytes);
  out.Put(offset).Put(offsets);
  out.Put(Crc32(to.data(), to.size())).PutRaw(kMcapMagic);
}

}  // namespace orliq::cli
