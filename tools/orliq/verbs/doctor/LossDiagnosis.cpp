// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "common/SocketMemory.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/live/SensorRemarks.h"

namespace orliq::cli {
namespace {

// The system counts memory and not bytes: a packet of any model takes 2 KiB and 256 bytes for its
// record, and the granted size is twice what a program asked for.
constexpr std::uint64_t kPacketMemory = 2304;  // [bytes]
constexpr double kHoldUp = 0.25;               // [s] a busy machine may keep a program from running

std::string BufferText(const Case& subject) {
  const std::uint64_t bytes = subject.Packets().socket_buffer_bytes / 2;
  const std::uint64_t largest = subject.machine.largest_buffer;
  return Megabytes(bytes) + " of the " + Megabytes(lidar::kReceiveBufferBytes) +
         " that the driver asks for" +
         (largest > 0 ? " (net.core.rmem_max is " + Grouped(largest) + ")" : "");
}

/// How long this sensor's packets find room while nothing takes them [s].
double RoomSeconds(const Case& subject) {
  const auto packets =
      static_cast<double>(subject.Packets().socket_buffer_bytes) / double{kPacketMemory};
  return packets / subject.Rate(subject.Packets().received);
}

void AddDrops(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  const std::uint64_t all = packets.received + packets.dropped_by_kernel;
  const bool small = packets.socket_buffer_bytes / 2 < lidar::kReceiveBufferBytes;
  findings.push_back({Severity::kProblem, "kernel_drops",
                      "packets are lost in this machine: they found the receive buffer full",
                      Grouped(packets.dropped_by_kernel) + " of " + Grouped(all) + " (" +
                          ShareText(packets.dropped_by_kernel, all) + "), with a buffer of " +
                          BufferText(subject),
                      small ? "Allow a larger one, and see what else keeps the processors busy:"
                            : "See what else keeps the processors busy.",
                      small ? LargerBufferCommands() : std::vector<std::string>()});
}

void AddBuffer(const Case& subject, HealthFindings& findings) {
  if (subject.Rate(subject.Packets().received) <= 0.0) return;
  const double room = RoomSeconds(subject);
  const std::string text =
      "the receive buffer has room for " + Fixed(1e3 * room, 0) + " ms of these packets";
  const bool small = subject.Packets().socket_buffer_bytes / 2 < lidar::kReceiveBufferBytes;
  if (room >= kHoldUp || !small) {
    findings.push_back({Severity::kOk, "buffer", text});
    return;
  }
  findings.push_back({Severity::kNote, "small_buffer", text + " only", BufferText(subject),
                      "Whenever something keeps the program from running for longer, packets are "
                      "lost. Allow a larger one:",
                      LargerBufferCommands()});
}

/// What lies between the sensor and this machine.
constexpr char kOnTheWay[] =
    "They are lost before this machine: look at cable, switch and the speed of the link (100 "
    "Mbit/s "
    "are too few for some sensors).";

/// What else has been found comes first: packets lost or refused in this machine are missing too.
const char* LossAdvice(const lidar::DriverStatistics& packets) {
  if (packets.dropped_by_kernel > 0) return "Mend the loss in this machine first.";
  if (packets.of_other_senders > 0) return "Mend the mixture of senders first.";
  if (packets.refused_length + packets.refused_identifier > 0) {
    return "Find out first what was refused: damaged packets of the sensor are missing here.";
  }
  return kOnTheWay;
}

void AddGaps(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  if (packets.skipped_packets == 0) return;
  const std::uint64_t all = packets.decoded + packets.skipped_packets;
  findings.push_back({Severity::kProblem,
                      "sequence_gaps",
                      "the packets' sequence numbers have gaps: some did not come",
                      Grouped(packets.skipped_packets) + " of " + Grouped(all) + " (" +
                          ShareText(packets.skipped_packets, all) + ")",
                      LossAdvice(packets),
                      {}});
}

/// Packets a second that the frame rate stands for, if the model's frame is of fixed size; else 0.
double ExpectedRate(const Case& subject) {
  const auto& packets = subject.Packets();
  if (packets.returns == 0) return 0.0;
  const double of_frame = static_cast<double>(subject.sensor.driven->returns) *
                          static_cast<double>(packets.decoded) /
                          static_cast<double>(packets.returns);
  return of_frame * subject.sensor.counts.frames.Rate();
}

/// The first frame had begun before, so it is always short.
void AddShortFrames(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  if (packets.short_frames <= 1 || packets.frames <= 1) return;
  const double expected = ExpectedRate(subject);
  const double rate = subject.Rate(packets.decoded);
  // Of frames that a lost or repeated mark has joined or cut, the rate tells nothing.
  const bool tells = rate > 0.0 && rate < expected;
  findings.push_back({Severity::kProblem,
                      "short_frames",
                      "frames come incomplete",
                      Grouped(packets.short_frames - 1) + " of " + Grouped(packets.frames - 1) +
                          " whole frames lack measurements" +
                          (tells ? "; " + Rounded(rate) + " packets/s came, of " +
                                       Rounded(expected) + " for whole frames at " +
                                       Fixed(subject.sensor.counts.frames.Rate(), 1) + " frames/s"
                                 : std::string()),
                      LossAdvice(packets),
                      {}});
}

std::uint64_t Ended(const LiveCounts& counts) {
  return counts.frames.count + counts.empty_frames + counts.frames_before_tables +
         (counts.partial_points > 0 ? 1 : 0);
}

std::string FramesText(const LiveCounts& counts) {
  const CloudSums& frames = counts.frames;
  if (frames.count > 0) {
    const double rate = frames.Rate();  // of two frames at least
    return Count(frames.count, "frame") + (rate > 0.0 ? ", " + Fixed(rate, 1) + " frames/s" : "") +
           ", with " + Grouped(frames.median_points) + " points each";
  }
  if (counts.frames_before_tables > 0) {
    return Count(counts.frames_before_tables, "frame") +
           ", all of them before the calibration came";
  }
  return "the first frame ended, which had begun before";
}

}  // namespace

void DiagnoseLoss(const Case& subject, HealthFindings& findings) {
  const auto& packets = subject.Packets();
  if (subject.sensor.driven == nullptr || packets.decoded == 0) return;
  packets.dropped_by_kernel > 0 ? AddDrops(subject, findings) : AddBuffer(subject, findings);
  AddGaps(subject, findings);
  AddShortFrames(subject, findings);
}

void DiagnoseFrames(const Case& subject, HealthFindings& findings) {
  const Model* const model = subject.sensor.driven;
  const LiveCounts& counts = subject.sensor.counts;
  if (model == nullptr || counts.packets.decoded == 0) return;
  if (const std::string text = NoPointsText(*model); !text.empty()) {
    findings.push_back({Severity::kNote, "no_points", text});
  }
  if (!model->delivers_frames) return;
  if (Ended(counts) == 0) {
    findings.push_back({Severity::kProblem,
                        "no_frames",
                        NoFrameText(counts.packets.decoded, *model),
                        "",
                        "Listen for longer with --seconds, or check the model.",
                        {}});
    return;
  }
  const std::string nothing = NothingMeasuredText(*model, counts.frames.count + counts.empty_frames,
                                                  counts.frames.non_zero);
  if (!nothing.empty()) {
    findings.push_back({Severity::kProblem, "nothing_measured", nothing});
    return;
  }
  findings.push_back({Severity::kOk, "frames", FramesText(counts)});
}

}  // namespace orliq::cli
