// SPDX-License-Identifier: Apache-2.0
#include "param/ParamService.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "common/Diagnostics.h"
#include "common/Wire.h"
#include "param/CheckImage.h"
#include "param/SearchFiles.h"

namespace orliq::lidar {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
using Storage = ParamService::Impl;
static_assert(offsetof(Storage, check_buffer) < offsetof(Storage, corvik) &&
                  offsetof(Storage, brantis) == offsetof(Storage, corvik) + 1 &&
                  offsetof(Storage, hestra) == offsetof(Storage, brantis) + 1 &&
                  offsetof(Storage, fennix) == offsetof(Storage, hestra) + 393269 &&
                  offsetof(Storage, glavor) == offsetof(Storage, fennix) + 393269 &&
                  offsetof(Storage, juniq) == offsetof(Storage, glavor) + 393269,
              "the records stand back to back");
#pragma GCC diagnostic pop

namespace {

/// What a model asks of its check folder. Fennix and Hestra ask for four times the numbers that
/// they use, as their check folders are written so.
struct ModelTables {
  LidarType type;
  std::size_t sets;          ///< minimum of every table, in multiples of what is copied
  bool offset;               ///< has an offset table
  bool uploads;              ///< its tables are taken from an image that the sensor sends
  bool piece_lines;          ///< prints which pieces of the image are taken
  bool exactly_four;         ///< else more than 3 accepted files are enough
  bool azimuth_size_line;    ///< prints how many numbers were read
  bool elevation_size_line;  ///< likewise
};

constexpr std::array<ModelTables, 4> kModels = {{
    // type            sets offset uploads piece_lines exactly_four size lines
    {LidarType::Fennix, 4, false, true, false, true, false, true},
    {LidarType::Hestra, 4, false, false, false, true, false, false},
    {LidarType::Glavor, 1, false, true, false, true, true, true},
    {LidarType::Juniq, 1, true, true, true, false, true, true},
}};

/// One table of a model: how its files are recognised and read, and where its numbers go.
struct Table {
  const char* word;       ///< key word in the path
  const char* marker;     ///< before it in an image that the sensor sends
  void* destination;      ///< not aligned for floats
  std::size_t copied;     ///< numbers of the field
  std::size_t needed;     ///< numbers a file must hold
  unsigned first_column;  ///< fields before it are labels
  bool announced;         ///< prints its key word before it is read
  bool size_line;         ///< prints how many numbers were read
};

/// The tables of a model, in the order in which the key words are tried.
std::vector<Table> TablesOf(const ModelTables& model, CheckParam& record) {
  auto& angles = static_cast<AngleCheckParam&>(record);
  const std::size_t sets = model.sets;
  std::vector<Table> tables = {
      {"azimuth", "AAAA", &angles.azimuth, kBeamPositions, sets * kBeamPositions, 0, true,
       model.azimuth_size_line},
      {"elevation", "BBBB", &angles.elevation, kBeamPositions, sets * kBeamPositions, 0, true,
       model.elevation_size_line},
      {"weight", "CCCC", &angles.weight, kWeights, sets * kWeights, 1, false, false},
      {"near_filter", "DDDD", &angles.near_filter, kNearFilters, sets * kNearFilters, 0, false,
       false},
  };
  if (model.offset) {
    auto& offsets = static_cast<OffsetCheckParam&>(record);
    tables.push_back({"offset", "EEEE", &offsets.offset, kBeamPositions, sets * kBeamPositions, 0,
                      false, false});
  }
  return tables;
}

const ModelTables* FindModel(const LidarType& type) {
  const auto* const model = std::find_if(kModels.begin(), kModels.end(),
                                         [&](const ModelTables& row) { return row.type == type; });
  return model == kModels.end() ? nullptr : model;
}

TableLoad LoadTable(Storage& impl, const std::string& path, const Table& table) {
  if (table.announced) diagnostics::AngleTable(table.word);
  std::vector<float> values;
  const TableRead read = impl.LoadFile(path, values, table.first_column, 1);
  if (table.size_line) diagnostics::AngleTableSize(read.found, table.needed);
  const bool accepted = read.found >= table.needed;
  if (accepted) std::memcpy(table.destination, values.data(), table.copied * sizeof(float));
  return {path, table.word, read.found, table.needed, accepted, read.readable, read.text};
}

/// Start of every reply of the sensor; its payload and three bytes more follow.
struct ParamReply {
  std::uint8_t marker[4];  ///< "ZZZZ"
  Le<4> total;             ///< [bytes] of the whole image, and kExtraTotal
  std::uint8_t pad_8[28];
};
constexpr std::int64_t kExtraTotal = 32;
static_assert(sizeof(ParamReply) == kReplyHeader);

// A hundred times what the largest calibration has: more is none, and would fill the memory.
constexpr std::int64_t kLargestTotal = std::int64_t{64} << 20U;

/// The image that the first reply announces [bytes]; with the sign bit set less than nothing.
std::int64_t AnnouncedTotal(const signed char* reply) {
  const auto total = std::uint32_t{reinterpret_cast<const ParamReply*>(reply)->total};
  return std::int64_t{static_cast<std::int32_t>(total)} - kExtraTotal;
}

}  // namespace

ParamService::ParamService() : impl_(std::make_shared<Impl>()) {}
ParamService::~ParamService() = default;

bool ParamService::LoadCheckFolder(const LidarType& type, const std::string& folder) {
  last_load_.clear();
  last_tables_.clear();
  const ModelTables* const model = FindModel(type);
  if (model == nullptr) return false;

  std::vector<std::string> files;
  SearchFiles(folder, files);
  const std::vector<Table> tables = TablesOf(*model, *GetCheckParam(type));
  for (const Table& table : tables) {
    last_tables_.push_back({{}, table.word, 0, table.needed, false, false});
  }
  std::size_t accepted = 0;
  for (const std::string& path : files) {
    const auto table = std::find_if(tables.begin(), tables.end(), [&](const Table& row) {
      return path.find(row.word) != std::string::npos;
    });
    last_load_.push_back(table == tables.end() ? TableLoad{path, {}, 0, 0, false, false}
                                               : LoadTable(*impl_, path, *table));
    if (last_load_.back().accepted) ++accepted;
  }
  return model->exactly_four ? accepted == 4 : accepted > 3;
}

int ParamService::PushData(const LidarType& type, const signed char* reply, const int& length,
                           bool& last, bool& done) {
  Impl& upload = *impl_;
  reply_fault_ = upload.Examine(reply, length);
  if (reply_fault_ != ReplyFault::None) {
    diagnostics::ParamReplyRefused();
    return -1;
  }
  upload.Append(reply, length);
  if (upload.received_size < upload.total_size) {
    const std::int32_t remaining = upload.total_size - upload.received_size;
    const std::int32_t payload = length - kNoPayload;
    last = remaining <= payload;
    return std::min(remaining, payload);
  }
  upload.complete = true;
  uploaded_tables_ = upload.CutUp(type, GetCheckParam(type));
  done = true;
  return 0;
}

ReplyFault ParamService::Examine(const signed char* reply, int length) const {
  return impl_->Examine(reply, length);
}

bool ParamService::IsWhole(const signed char* reply, int length, int asked) const {
  if (Examine(reply, length) != ReplyFault::None) return true;
  const std::int64_t total =
      impl_->total_size == 0 ? AnnouncedTotal(reply) : std::int64_t{impl_->total_size};
  if (total <= 0) return false;
  return length - kNoPayload == std::min<std::int64_t>(asked, total - impl_->received_size);
}

std::int32_t ParamService::TotalSize() const {
  return impl_->total_size;
}

std::int32_t ParamService::ReceivedSize() const {
  return impl_->received_size;
}

bool ParamService::TakesUpload(const LidarType& type) {
  const ModelTables* const model = FindModel(type);
  return model != nullptr && model->uploads;
}

ReplyFault ParamService::Impl::Examine(const signed char* reply, int length) const {
  if (length < kNoPayload) return ReplyFault::Short;
  if (std::memcmp(reply, marker, sizeof marker) != 0) return ReplyFault::Marker;
  if (total_size == 0 && AnnouncedTotal(reply) > kLargestTotal) return ReplyFault::Total;
  return ReplyFault::None;
}

/// A complete image stays as it is: it never grows beyond what was announced by more than a reply.
void ParamService::Impl::Append(const signed char* reply, int length) {
  if (complete) return;
  if (total_size == 0) {
    constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
    total_size = static_cast<std::int32_t>(std::max(AnnouncedTotal(reply), kLeast));
  }
  check_buffer.insert(check_buffer.end(), reply + kReplyHeader, reply + length - kReplyTrailer);
  received_size += length - kNoPayload;
}

/// Fills the record with the pieces that are long enough.
std::vector<TableUpload> ParamService::Impl::CutUp(const LidarType& type, CheckParam* record) {
  const auto markers = FindFlags(check_buffer, received_size, GetFlags(type));
  const auto pieces = CutImage(check_buffer, markers, total_size);
  const ModelTables* const model = FindModel(type);
  if (model == nullptr || !model->uploads) return {};
  if (model->piece_lines) diagnostics::ParamImageCut(pieces.size());
  std::vector<TableUpload> tables;
  for (const Table& table : TablesOf(*model, *record)) {
    const auto piece = pieces.find(table.marker);
    tables.push_back({table.word, table.marker, 0, table.copied, piece != pieces.end()});
    if (!tables.back().marked) continue;
    const std::vector<std::uint8_t>& bytes = piece->second.bytes;
    tables.back().found = bytes.size() / sizeof(float);
    if (!tables.back().Accepted()) continue;
    if (model->piece_lines) diagnostics::ParamPieceFound(table.marker);
    std::memcpy(table.destination, bytes.data(), table.copied * sizeof(float));
  }
  return tables;
}

CheckParam* ParamService::GetCheckParam(const LidarType& type) {
  switch (type) {
    case LidarType::Brantis:
      return &impl_->brantis;
    case LidarType::Corvik:
      return &impl_->corvik;
    case LidarType::Hestra:
      return &impl_->hestra;
    case LidarType::Fennix:
      return &impl_->fennix;
    case LidarType::Glavor:
      return &impl_->glavor;
    case LidarType::Juniq:
      return &impl_->juniq;
    case LidarType::Kelvane:
      break;
  }
  return nullptr;
}

TableRead ParamService::Impl::LoadFile(const std::string& path, std::vector<float>& values,
                                       unsigned start, unsigned step) {
  return ReadTableFile(path, {start, step}, kBeamPositions, values);
}

}  // namespace orliq::lidar
