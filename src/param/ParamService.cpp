// SPDX-License-Identifier: Apache-2.0
#include "param/ParamService.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/Diagnostics.h"
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
  bool exactly_four;         ///< else more than 3 accepted files are enough
  bool azimuth_size_line;    ///< prints how many numbers were read
  bool elevation_size_line;  ///< likewise
};

constexpr std::array<ModelTables, 4> kModels = {{
    // type            sets offset exactly_four size lines
    {LidarType::Fennix, 4, false, true, false, true},
    {LidarType::Hestra, 4, false, true, false, false},
    {LidarType::Glavor, 1, false, true, true, true},
    {LidarType::Juniq, 1, true, false, true, true},
}};

/// One table of a model: how its files are recognised and read, and where its numbers go.
struct Table {
  const char* word;       ///< key word in the path
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
      {"azimuth", &angles.azimuth, kBeamPositions, sets * kBeamPositions, 0, true,
       model.azimuth_size_line},
      {"elevation", &angles.elevation, kBeamPositions, sets * kBeamPositions, 0, true,
       model.elevation_size_line},
      {"weight", &angles.weight, kWeights, sets * kWeights, 1, false, false},
      {"near_filter", &angles.near_filter, kNearFilters, sets * kNearFilters, 0, false, false},
  };
  if (model.offset) {
    auto& offsets = static_cast<OffsetCheckParam&>(record);
    tables.push_back(
        {"offset", &offsets.offset, kBeamPositions, sets * kBeamPositions, 0, false, false});
  }
  return tables;
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

}  // namespace

ParamService::ParamService() : impl_(std::make_shared<Impl>()) {}
ParamService::~ParamService() = default;

bool ParamService::LoadCheckFolder(const LidarType& type, const std::string& folder) {
  last_load_.clear();
  last_tables_.clear();
  const auto model = std::find_if(kModels.begin(), kModels.end(),
                                  [&](const ModelTables& row) { return row.type == type; });
  if (model == kModels.end()) return false;

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
