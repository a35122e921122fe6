// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/McapReader.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "orliq/mcap/Crc32.h"
#include "orliq/mcap/Zstd.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kStep = std::size_t{1} << 20U;  // [bytes] read at once
constexpr std::size_t kMaxText = 1024;                // [bytes] of a name
constexpr char kCut[] =
    "ends in the middle of a record";  // by a power loss, or still being written

/// The bytes behind the magic; nothing when there is none.
bool TakeMagic(std::FILE* file, std::string& magic) {
  magic.resize(kMcapMagic.size());
  return std::fread(magic.data(), 1, magic.size(), file) == magic.size() && magic == kMcapMagic;
}

}  // namespace

bool McapReader::IsMcap(const std::string& path) {
  const std::unique_ptr<std::FILE, Close> file(std::fopen(path.c_str(), "rbe"));
  std::string magic;
  return file && TakeMagic(file.get(), magic);
}

McapReader::McapReader(const std::string& path) : file_(std::fopen(path.c_str(), "rbe")) {
  const std::string reason = std::generic_category().message(errno);
  if (!file_) throw Failure(ExitCode::kFileFault, "cannot read " + path + ": " + reason);
  if (!TakeMagic(file_.get(), bytes_)) {
    throw Failure(ExitCode::kFileFault, "cannot read " + path + ": it is no MCAP file");
  }
  std::error_code error;
  const std::uint64_t bytes = std::filesystem::file_size(path, error);
  rest_ = error ? 0 : bytes - bytes_.size();
}

bool McapReader::Fail(const std::string& why) {
  fault_ = why + " at byte " + std::to_string(at_);
  ended_ = true;
  return false;
}

bool McapReader::Next(McapMessage& message) {
  Record record = {};
  while (!ended_ && NextRecord(record)) {
    switch (record.kind) {
      case McapRecord::kMessage:
        return TakeMessage(record.content, message);
      case McapRecord::kSchema:
        if (!TakeSchema(record.content)) return false;
        break;
      case McapRecord::kChannel:
        if (!TakeChannel(record.content)) return false;
        break;
      case McapRecord::kChunk:
        if (!OpenChunk(record.content)) return false;
        break;
      case McapRecord::kDataEnd:
        return End(record.content);
      default:
        break;  // of no use here, or of a later version of the format
    }
  }
  return false;
}

/// Of the chunk as long as it has any, then of the file.
bool McapReader::NextRecord(Record& record) {
  if (records_.empty()) return ReadRecord(record);
  McapFields fields(records_);
  record.kind = static_cast<McapRecord>(fields.Take<std::uint8_t>());
  record.content = fields.TakeRaw(fields.Take<std::uint64_t>());
  const bool has_place = record.kind != McapRecord::kChunk && record.kind != McapRecord::kDataEnd;
  if (fields.EndedEarly() || !has_place) {
    return Fail("holds a chunk with records that have no place in it,");
  }
  records_ = fields.Rest();
  return true;
}

bool McapReader::ReadRecord(Record& record) {
  crc_ = Crc32(bytes_.data(), bytes_.size(), crc_);
  at_ += bytes_.size();
  bytes_.resize(kMcapRecordHead);
  if (rest_ == 0) return Fail("has no end of its messages: they stop");
  if (rest_ < bytes_.size() ||
      std::fread(bytes_.data(), 1, bytes_.size(), file_.get()) < bytes_.size()) {
    return Fail(kCut);
  }
  rest_ -= bytes_.size();
  McapFields head(bytes_);
  record.kind = static_cast<McapRecord>(head.Take<std::uint8_t>());
  const auto length = head.Take<std::uint64_t>();
  if (length > rest_) return Fail(kCut);
  if (length > kMaxBytes) return Fail("holds a record of more bytes than can be read,");
  while (bytes_.size() < kMcapRecordHead + length) {
    const std::size_t before = bytes_.size();
    const std::size_t step = std::min<std::size_t>(kStep, kMcapRecordHead + length - before);
    bytes_.resize(before + step);
    if (std::fread(&bytes_[before], 1, step, file_.get()) < step) return Fail(kCut);
  }
  rest_ -= length;
  record.content = std::string_view(bytes_).substr(kMcapRecordHead);
  return true;
}

bool McapReader::OpenChunk(std::string_view content) {
  McapFields fields(content);
  fields.TakeRaw(2 * sizeof(std::uint64_t));  // times of the first and the last message
  const auto bytes = fields.Take<std::uint64_t>();
  const auto crc = fields.Take<std::uint32_t>();
  const std::string_view compression = fields.TakeText();
  const std::string_view records = fields.TakeRaw(fields.Take<std::uint64_t>());
  if (fields.EndedEarly()) return Fail("holds a chunk that is shorter than it says,");
  if (!Expand(compression, records, bytes)) return false;
  if (crc != 0 && Crc32(records_.data(), records_.size()) != crc) {
    return Fail("holds a chunk whose check sum is wrong: it was damaged");
  }
  return true;
}

bool McapReader::Expand(std::string_view compression, std::string_view content,
                        std::uint64_t bytes) {
  if (bytes > kMaxBytes) return Fail("holds a chunk of more bytes than can be read,");
  if (compression == "zstd" && !HasZstd()) {
    return Fail("is compressed, and this program was built without libzstd-dev, which it needs");
  }
  if (!compression.empty() && compression != "zstd") {
    return Fail("is compressed otherwise than by zstd");
  }
  const bool plain = compression.empty();
  const bool whole = plain ? content.size() == bytes : ExpandZstd(content, bytes, plain_);
  if (!whole) return Fail("holds a chunk that is not as long as it says,");
  records_ = plain ? content : std::string_view(plain_);
  return true;
}

bool McapReader::TakeMessage(std::string_view content, McapMessage& message) {
  McapFields fields(content);
  message.channel = fields.Take<std::uint16_t>();
  message.sequence = fields.Take<std::uint32_t>();
  message.log_time = fields.Take<std::uint64_t>();
  message.publish_time = fields.Take<std::uint64_t>();
  message.data = fields.Rest();
  const auto topic = topics_.find(message.channel);
  if (fields.EndedEarly()) return Fail("holds a message that is shorter than its head,");
  if (topic == topics_.end()) return Fail("holds a message of a channel that it does not tell of,");
  topic_ = &topic->second;
  return true;
}

bool McapReader::TakeSchema(std::string_view content) {
  McapFields fields(content);
  const auto number = fields.Take<std::uint16_t>();
  const std::string_view name = fields.TakeText();
  if (fields.EndedEarly() || name.size() > kMaxText) {
    return Fail("holds a schema that makes no sense,");
  }
  schemas_[number] = name;
  return true;
}

bool McapReader::TakeChannel(std::string_view content) {
  McapFields fields(content);
  const auto number = fields.Take<std::uint16_t>();
  const auto schema = fields.Take<std::uint16_t>();
  const std::string_view name = fields.TakeText();
  const std::string_view encoding = fields.TakeText();
  if (fields.EndedEarly() || std::max(name.size(), encoding.size()) > kMaxText) {
    return Fail("holds a channel that makes no sense,");
  }
  const auto known = schemas_.find(schema);
  topics_[number] = {std::string(name), std::string(encoding),
                     known == schemas_.end() ? std::string() : known->second};
  return true;
}

/// The messages are over; the sum of all that stands before is checked.
bool McapReader::End(std::string_view content) {
  const auto crc = McapFields(content).Take<std::uint32_t>();
  if (crc != 0 && crc != crc_) return Fail("has a wrong check sum: it was damaged before its end,");
  ended_ = true;
  return false;
}

}  // namespace orliq::cli
