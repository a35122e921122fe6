// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/McapFile.h"

#include "multi_driver/Version.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kPatience{1};  // what a cut costs at most, twice: chunk and disk
constexpr std::chrono::seconds kPause{1};     // before a chunk is offered to a full disk again
constexpr char kSchemaEncoding[] = "ros2msg";

}  // namespace

McapFile::McapFile(const std::filesystem::path& path, const Options& options)
    : file_(path, options.name, options.replace),
      writer_([this](std::string_view bytes) { file_.Append(bytes); }, options.compress,
              "orliq " ORLIQ_VERSION),
      sync_time_(Clock::now()) {}

std::size_t McapFile::AddTopic(const std::string& name, const RosType& type) {
  return writer_.AddChannel(name, {type.name, kSchemaEncoding, type.definition});
}

void McapFile::Publish(std::size_t topic, const RosTime& stamp, std::string_view cdr) {
  Publish(topic, stamp, [cdr](std::string& to) { to.append(cdr); });
}

void McapFile::Publish(std::size_t topic, const RosTime& stamp, const McapAppend& append) {
  FlushIfDue();
  if (!writer_.HasPending()) chunk_time_ = Clock::now();
  writer_.Add(static_cast<std::uint16_t>(topic), stamp.Nanoseconds(), append);
}

void McapFile::Tend() {
  FlushIfDue();
}

/// Before a message is taken: so one that came is never given up for a chunk that failed.
void McapFile::FlushIfDue() {
  const Clock::time_point now = Clock::now();
  const bool due = writer_.IsChunkFull() || now - chunk_time_ >= kPatience;
  if (writer_.HasPending() && due) Flush(now);
  if (now - sync_time_ < kPatience) return;
  file_.Sync();
  sync_time_ = Clock::now();
}

/// To pack a chunk for each message that a full disk does not take would keep the thread for minutes.
void McapFile::Flush(Clock::time_point now) {
  if (fault_ && now - fault_time_ < kPause) throw Failure(*fault_);
  try {
    writer_.Flush();
  } catch (const Failure& fault) {
    fault_ = fault;
    fault_time_ = now;
    throw;
  }
}

void McapFile::Finish() {
  writer_.Close();
  file_.Finish();
}

std::uint64_t McapFile::Messages(std::size_t topic) const {
  return writer_.Messages(static_cast<std::uint16_t>(topic));
}

std::uint64_t McapFile::Pending(std::size_t topic) const {
  return writer_.Pending(static_cast<std::uint16_t>(topic));
}

std::uint64_t McapFile::Bytes() const {
  return writer_.Bytes();
}

}  // namespace orliq::cli
