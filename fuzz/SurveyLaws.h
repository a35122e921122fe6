// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <memory>

#include "fuzz/FlowLaws.h"
#include "fuzz/RecordLaws.h"
#include "orliq/capture/CaptureFile.h"
#include "orliq/capture/CaptureSurvey.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::fuzz {

/// Does `work`, which throws Failure when the file that it opens is no capture: for the program it is
/// none exactly when it is none for the driver.
template <typename Work>
void OpensAs(bool opens, const Work& work) {
  try {
    work();
    Require(opens);
  } catch (const cli::Failure&) {
    Require(!opens);
  }
}

/// The driver reads the record too, and a datagram that the program calls readable as it stands there.
inline void RequireNext(const cli::UdpRecord& record, lidar::InputPcap& driver) {
  auto buffer = std::make_shared<lidar::Buffer>();
  const int length = driver.RecvPacket(buffer, 0, nullptr, true);
  Require(length >= 0);
  if (record.skip) return;
  const cli::Datagram& datagram = *record.datagram;
  Require(static_cast<std::size_t>(length) == datagram.payload_bytes &&
          std::equal(buffer->data, buffer->data + length, datagram.payload));
}

/// Both have come to the same end.
inline void RequireEnd(const cli::CaptureSurvey& survey, lidar::InputPcap& driver,
                       const lidar::RecordCounters& counters) {
  auto buffer = std::make_shared<lidar::Buffer>();
  Require(driver.RecvPacket(buffer, 0, nullptr, true) < 0);
  const lidar::RecordCounts counts = counters.Read();
  Require(counts.records == survey.records && counts.damaged == (survey.fault.empty() ? 0 : 1));
}

}  // namespace orliq::fuzz
