// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/Recording.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "orliq/capture/CaptureFile.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr std::uint64_t kRecordOverhead = 16 + 42;  // [bytes] record header and packet headers

}  // namespace

void RequireNoOtherFile(const std::string& path) {
  std::error_code error;
  const bool has_content =
      std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) > 0;
  if (!has_content) return;
  try {
    CaptureFile capture(path);
  } catch (const Failure&) {
    throw Failure(ExitCode::kFileFault, path +
                                            " is there already and is no capture file: name "
                                            "another one, or add --force to replace it");
  }
}

Recording::Recording(std::string path, const RecordingLimits& limits)
    : path_(std::move(path)), limits_(limits) {
  MakeFolder(std::filesystem::path(path_).parent_path());
  std::string error;
  writer_ = sim::PcapWriter::Create(path_, {}, error);
  if (!writer_) throw Failure(ExitCode::kFileFault, "cannot write " + path_ + ": " + error);
}

bool Recording::Full(std::size_t payload_bytes) const {
  if (limits_.packets && packets_ >= *limits_.packets) return true;
  return limits_.bytes && writer_->Bytes() + kRecordOverhead + payload_bytes > *limits_.bytes;
}

bool Recording::Add(const DatagramBatch& batch) {
  bool full = false;
  for (const auto& entry : batch.entries) {
    full = Full(entry.bytes);
    if (full) break;
    Write(batch, entry);
  }
  if (!writer_->Flush()) KeepWhatWasWritten();
  safe_packets_ = packets_;
  return !full && !Full(0);
}

void Recording::Write(const DatagramBatch& batch, const DatagramBatch::Entry& entry) {
  const auto* const payload = batch.payloads.data() + entry.offset;
  payload_.assign(payload, payload + entry.bytes);
  if (!writer_->Write(payload_, entry.time_s, entry.endpoints)) KeepWhatWasWritten();
  if (packets_ == 0) first_time_s_ = entry.time_s;
  last_time_s_ = entry.time_s;
  ++packets_;
  CountSender(entry.endpoints);
}

void Recording::CountSender(const sim::UdpEndpoints& endpoints) {
  auto sender = std::find_if(senders_.begin(), senders_.end(), [&](const SenderCount& known) {
    return known.address == endpoints.source && known.port == endpoints.source_port;
  });
  if (sender == senders_.end() && senders_.size() < kMaxSenders) {
    sender = senders_.insert(sender, {endpoints.source, endpoints.source_port, 0});
  }
  ++(sender == senders_.end() ? senders_.back() : *sender).packets;
}

void Recording::KeepWhatWasWritten() {
  const std::string reason = std::generic_category().message(errno);
  std::string kept = "nothing was recorded";
  if (safe_packets_ > 0) {
    std::string error;
    kept = writer_->CloseAtLastFlush(error)
               ? "the file ends after " + Count(safe_packets_, "packet") + ", the rest is lost"
               : "it could not even be closed: " + error;
  }
  throw Failure(ExitCode::kFileFault, "cannot write " + path_ + ": " + reason + "; " + kept +
                                          ". Make room, or name a file on another disk");
}

void Recording::Finish() {
  std::string error;
  if (packets_ == 0 || writer_->Close(error)) return;
  throw Failure(ExitCode::kFileFault, error);
}

std::optional<double> Recording::Share() const {
  std::optional<double> share;
  const auto consider = [&share](std::uint64_t done, const std::optional<std::uint64_t>& limit) {
    if (limit) {
      share =
          std::max(share.value_or(0.0), static_cast<double>(done) / static_cast<double>(*limit));
    }
  };
  consider(packets_, limits_.packets);
  consider(writer_->Bytes(), limits_.bytes);
  return share;
}

}  // namespace orliq::cli
