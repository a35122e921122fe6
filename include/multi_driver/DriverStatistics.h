// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "multi_driver/CaptureStatistics.h"
#include "multi_driver/ClockStatistics.h"
#include "multi_driver/Export.h"
#include "multi_driver/UploadStatistics.h"

namespace orliq::lidar {

/// What became of the packets of a sensor, counted from InitDriver on.
///
/// Of a live one, every datagram that reached the socket waits in its buffer or is in exactly one of
/// `received`, `other_source`, `empty` and `dropped_by_kernel`; `receive_errors` counts calls, not
/// datagrams. Every received one is waiting in the queue, being decoded, `decoded`, refused for its
/// length or identifier, or `dropped_by_limit`.
/// A port that a second socket has bound as well gives the whole flow of a sensor to one of the two:
/// then `received` stands still while the sensor sends.
///
/// Of a capture, `received` are the packets of the frames that were asked for; each of them is being
/// decoded, `decoded` or refused. `capture` tells what was read for that and what was passed over.
/// All that is of a socket, a queue, an upload or the clock stays as it is here.
struct ORLIQ_API DriverStatistics {
  std::uint64_t received = 0;             ///< datagrams taken from the socket, or the capture
  std::uint64_t received_bytes = 0;       ///< their payload, cut at 1546 bytes each
  std::uint64_t receive_errors = 0;       ///< failed receive calls
  std::uint64_t dropped_by_kernel = 0;    ///< that found the socket's buffer full, or were damaged
  std::uint64_t dropped_by_limit = 0;     ///< oldest ones given up for the limit of SetQueueLimit
  std::uint64_t decoded = 0;              ///< packets of the model's length and identifier
  std::uint64_t refused_length = 0;       ///< of another length than the model's
  std::uint64_t refused_identifier = 0;   ///< of the right length that begin with other bytes
  std::uint64_t last_refused_length = 0;  ///< [bytes] of the last one refused for its length
  std::uint64_t queued = 0;               ///< packets that wait to be decoded now
  std::uint64_t queued_max = 0;           ///< the most that ever waited
  std::uint64_t buffers = 0;              ///< packet buffers in existence, 1546 bytes each
  std::uint64_t socket_buffer_bytes = 0;  ///< receive buffer as granted: twice what was asked
  double last_packet_age_s = -1.0;        ///< [s] since the last received; negative before any
  std::uint64_t other_source = 0;         ///< of another sender than that of SetSourceAddress
  std::uint64_t empty = 0;                ///< of the chosen sender, but without a byte
  PacketSender first_sender;              ///< whose datagram came first, chosen or not
  PacketSender other_sender;              ///< the latest one that is not the first
  std::uint64_t of_other_senders = 0;     ///< datagrams, all of them, that are not of the first
  std::uint64_t returns = 0;  ///< measurements in the decoded packets; none of a model without
  /// Of them null, which is a Juniq's range that is not positive, or outside the limits. A range of 0 is
  /// within a `min_distance` of 0.
  std::uint64_t gated = 0;
  std::uint64_t filtered = 0;         ///< of them taken out by the radius filter
  std::uint64_t frames = 0;           ///< clouds handed to the consumer
  std::uint64_t points = 0;           ///< in those clouds
  std::uint64_t short_frames = 0;     ///< of fewer returns than a whole one, consumed or not
  std::uint64_t skipped_packets = 0;  ///< by the sequence numbers that only a Kelvane sends
  UploadStatistics upload;            ///< of the calibration, when it comes from the sensor
  ClockStatistics clock;              ///< the sensor's against this machine's
  CaptureStatistics capture;          ///< how the file was read, when it comes from one
};

}  // namespace orliq::lidar
