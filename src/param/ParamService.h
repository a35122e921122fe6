// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "param/CheckParam.h"
#include "param/TableFile.h"

namespace orliq::lidar {

/// What became of one file of a check folder.
struct TableLoad {
  std::string path;
  std::string table;       ///< key word found in the path; empty when the file is no table
  std::size_t found = 0;   ///< numbers read
  std::size_t needed = 0;  ///< numbers the model asks for at least; 0 when the file is no table
  bool accepted = false;   ///< copied into the record
  bool readable = false;   ///< opened and read to its end; not tried when the file is no table
  std::size_t text = 0;    ///< fields among the numbers that hold none, and count as 0
};

/// One table of an image that a sensor has uploaded.
struct TableUpload {
  std::string table;       ///< such as azimuth
  std::string marker;      ///< that stands before it in the image
  std::size_t found = 0;   ///< numbers behind the marker
  std::size_t needed = 0;  ///< numbers that the model asks for
  bool marked = false;     ///< the marker was found
  bool Accepted() const { return marked && found >= needed; }
};

// [bytes] of a sensor's reply around its payload.
constexpr int kReplyHeader = 36;
constexpr int kReplyTrailer = 3;
constexpr int kNoPayload = kReplyHeader + kReplyTrailer;

/// Why a reply of the sensor was not taken.
enum class ReplyFault : std::uint8_t {
  None,
  Marker,  ///< begins with other bytes
  Short,   ///< has no room for a payload
  Total,   ///< announces more than any calibration has
};

/// Holds the check parameters of every sensor model and fills those of one model from a folder of
/// comma-separated text files, or from what the sensor uploads.
///
/// Threads: none of its own and no lock. It is used by the thread that initialises the driver, or
/// afterwards by the one that loads from the sensor.
/// Ownership: the records live as long as the service; GetCheckParam points into it.
/// Failure: nothing throws for what a folder may hold. A table that cannot be read or is too short
/// leaves its field as it was, all zero at first.
class ParamService {
 public:
  struct Impl;

  ParamService();
  ~ParamService();
  ParamService(const ParamService&) = delete;
  ParamService& operator=(const ParamService&) = delete;

  /// Fills the record of `type` from the tables of `folder`: a file is the first of azimuth,
  /// elevation, weight, near_filter and (Juniq) offset that its whole path contains. Numbers beyond
  /// a table's length are ignored; the first field of each weight line is a label.
  ///
  /// Files count, not tables: true when exactly 4 were accepted, for Juniq when more than 3 were. A
  /// further copy of a table therefore spoils a folder of the other models. False at once for a
  /// model without tables.
  [[nodiscard]] bool LoadCheckFolder(const LidarType& type, const std::string& folder);

  /// Takes one reply of a sensor of `type`: appends its payload to the image of the tables and, once
  /// as many bytes have come as the first reply announced, cuts the image up and fills the record.
  /// A piece that is missing or too short leaves its table as it was.
  ///
  /// Returns how many bytes to ask for next, and in `last` whether those are the last; 0 with `done`
  /// when the image is complete. -1, with a line and nothing changed, for a reply that is not taken;
  /// see LastReplyFault. One upload per service: a reply to a complete image adds nothing to it.
  int PushData(const LidarType& type, const signed char* reply, const int& length, bool& last,
               bool& done);

  /// Whether the payload of a reply that PushData takes is the whole of the `asked` bytes, or of
  /// those that the image still lacks when they are fewer; false for an image of no bytes. True for a
  /// reply that it does not take.
  bool IsWhole(const signed char* reply, int length, int asked) const;

  /// Why PushData would not take the reply.
  ReplyFault Examine(const signed char* reply, int length) const;

  /// Why the last reply was not taken.
  ReplyFault LastReplyFault() const { return reply_fault_; }

  std::int32_t TotalSize() const;     ///< [bytes] of the image; 0: not known yet
  std::int32_t ReceivedSize() const;  ///< [bytes] of them so far

  /// The tables of the complete image; none before, and for a model that takes none from an image.
  const std::vector<TableUpload>& UploadedTables() const { return uploaded_tables_; }

  /// Whether the tables of `type` are taken from an image that its sensor sends.
  static bool TakesUpload(const LidarType& type);

  /// The record of `type`, to be copied as one block; null for a model that has none.
  CheckParam* GetCheckParam(const LidarType& type);

  /// The files of the last LoadCheckFolder in the order of their listing, for telling a user why a
  /// folder fails.
  const std::vector<TableLoad>& LastLoad() const { return last_load_; }

  /// The tables that the model of the last LoadCheckFolder asks for, with what they need; none for a
  /// model without tables.
  const std::vector<TableLoad>& LastTables() const { return last_tables_; }

 private:
  std::shared_ptr<Impl> impl_;
  std::vector<TableLoad> last_load_;
  std::vector<TableLoad> last_tables_;
  ReplyFault reply_fault_ = ReplyFault::None;
  std::vector<TableUpload> uploaded_tables_;
};

/// The storage, about 1.7 MB and zero at first.
struct ParamService::Impl {
  // Assembly of the tables that a sensor uploads itself.
  std::int32_t total_size = 0;             ///< [bytes] of payload expected
  std::int32_t received_size = 0;          ///< [bytes] of payload received
  bool complete = false;                   ///< as many as that
  char marker[4] = {'Z', 'Z', 'Z', 'Z'};   ///< first bytes of every reply
  std::vector<std::uint8_t> check_buffer;  ///< payload received: the image

  CheckParam corvik;
  CheckParam brantis;
  AngleCheckParam hestra;
  AngleCheckParam fennix;
  AngleCheckParam glavor;
  OffsetCheckParam juniq;

  ReplyFault Examine(const signed char* reply, int length) const;
  void Append(const signed char* reply, int length);
  std::vector<TableUpload> CutUp(const LidarType& type, CheckParam* record);

  /// Appends the numbers of a text file in the columns `start`, `start + step`, ... to `values` and
  /// counts them; of more numbers than the largest table holds the rest is only counted. A file
  /// that cannot be read adds nothing.
  TableRead LoadFile(const std::string& path, std::vector<float>& values, unsigned start,
                     unsigned step);
};

}  // namespace orliq::lidar
