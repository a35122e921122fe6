// SPDX-License-Identifier: Apache-2.0
#include "manager/RecordReader.h"

#include <chrono>
#include <thread>

#include "input/InputFactory.h"

namespace orliq::lidar {
namespace {

constexpr std::chrono::milliseconds kPause{1};

// A capture of mixed traffic holds millions of foreign records: pausing for each one would take
// minutes, so the worker pauses once per this many of them in a row.
constexpr int kForeignRecordsPerPause = 1000;

}  // namespace

bool RecordReader::Open(const DriverParam& param, std::uint32_t source) {
  input_ = InputFactory::CreateInput(param.input_type, param.input_param);
  if (input_) input_->SetSource(source);
  if (!input_ || !input_->Init()) {
    Close();
    return false;
  }
  buffer_ = std::make_shared<Buffer>();
  return true;
}

int RecordReader::Read(RecordCounters& counters, long* position, bool remember) {
  input_->CountInto(counters);
  const int length =
      input_->RecvPacket(buffer_, static_cast<int>(buffer_->capacity), position, remember);
  if (length > 0 && &counters == &played_) played_bytes_.Add(buffer_->length);
  foreign_ = length == 0 ? foreign_ + 1 : 0;
  if (foreign_ == kForeignRecordsPerPause) {
    foreign_ = 0;
    std::this_thread::sleep_for(kPause);
  }
  return length;
}

void RecordReader::Count(DriverStatistics& statistics) const {
  statistics.received_bytes = played_bytes_.Value();
  statistics.capture.played = played_.Read();
  statistics.capture.indexed = indexed_.Read();
  statistics.received = statistics.capture.played.packets;
}

}  // namespace orliq::lidar
