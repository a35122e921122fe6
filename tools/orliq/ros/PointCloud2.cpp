// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

#include "orliq/ros/CdrText.h"
#include "orliq/ros/RosMessages.h"

namespace orliq::cli {
namespace {

// Values of PointField.datatype.
enum Datatype : std::uint8_t {
  kInt8 = 1,
  kUint8,
  kInt16,
  kUint16,
  kInt32,
  kUint32,
  kFloat32,
  kFloat64
};

constexpr std::size_t kAlignment = 4;  // of a point: what all of its fields but doubles need
constexpr std::uint32_t kNowhere = UINT32_MAX;

/// A field of a point, from its record in the cloud to its place in the message.
struct Column {
  enum class Kind : std::uint8_t { kCopy, kIntensity, kTime };
  Kind kind;
  PointField from;
  const char* name;
  Datatype type;
  std::size_t offset;  // [bytes] in the message's point
};

/// Bytes of a point, from its record to the message: those of fields that stay as they are and side by
/// side go together, as each piece takes about as long as the next.
struct Piece {
  Column::Kind kind;
  std::size_t from;   // [bytes] in the record
  std::size_t to;     // [bytes] in the message's point
  std::size_t bytes;  // of a copy
};

struct Layout {
  std::vector<Column> columns;
  std::vector<Piece> pieces;
  std::size_t step = 0;  // [bytes] of a point
};

std::size_t WidthOf(Datatype type) {
  constexpr std::size_t kWidths[] = {0, 1, 1, 2, 2, 4, 4, 4, 8};
  return kWidths[type];
}

std::size_t Aligned(std::size_t bytes, std::size_t to) {
  return (bytes + to - 1) / to * to;
}

Datatype TypeOf(const PointField& field) {
  if (field.kind == FieldKind::kFloat) return field.width == 8 ? kFloat64 : kFloat32;
  const bool sign = field.kind == FieldKind::kSigned;
  if (field.width == 1) return sign ? kInt8 : kUint8;
  if (field.width == 2) return sign ? kInt16 : kUint16;
  return sign ? kInt32 : kUint32;
}

Column ColumnOf(const PointField& field) {
  const std::string_view name = field.name;
  if (name == "intensity") return {Column::Kind::kIntensity, field, field.name, kFloat32, 0};
  if (name == "timestamp") return {Column::Kind::kTime, field, "time", kFloat32, 0};
  return {Column::Kind::kCopy, field, field.name, TypeOf(field), 0};
}

void AddPiece(const Column& column, std::vector<Piece>& pieces) {
  const Piece piece = {column.kind, column.from.offset, column.offset,
                       column.from.width * column.from.count};
  const Column::Kind copy = Column::Kind::kCopy;
  if (piece.kind == copy && !pieces.empty() && pieces.back().kind == copy) {
    Piece& last = pieces.back();
    if (piece.from == last.from + last.bytes && piece.to == last.to + last.bytes) {
      last.bytes += piece.bytes;
      return;
    }
  }
  pieces.push_back(piece);
}

/// Each field at a multiple of its width.
Layout LayoutOf(const CloudView& cloud) {
  Layout layout;
  std::size_t end = 0;
  for (std::size_t i = 0; i < cloud.field_count; ++i) {
    Column column = ColumnOf(cloud.fields[i]);
    column.offset = Aligned(end, WidthOf(column.type));
    end = column.offset + WidthOf(column.type) * column.from.count;
    layout.columns.push_back(column);
    AddPiece(column, layout.pieces);
  }
  layout.step = Aligned(end, kAlignment);
  return layout;
}

/// A number that may lie anywhere.
template <typename Value>
Value Load(const void* from) {
  Value value;
  std::memcpy(&value, from, sizeof value);
  return value;
}

const PointField* FindField(const CloudView& cloud, std::string_view name) {
  const auto* const end = cloud.fields + cloud.field_count;
  const auto* const found =
      std::find_if(cloud.fields, end, [&](const PointField& f) { return f.name == name; });
  return found == end ? nullptr : found;
}

double FirstTime(const CloudView& cloud) {
  const PointField* const time = FindField(cloud, "timestamp");
  return time == nullptr || cloud.points == 0 ? 0.0 : Load<double>(cloud.records + time->offset);
}

/// The point of each cell; empty where the points make no grid.
std::vector<std::uint32_t> CellsOf(const RosCloud& message) {
  const CloudView& cloud = message.cloud;
  const PointField* const row = FindField(cloud, "row");
  const PointField* const column = FindField(cloud, "column");
  if (message.rows == 0 || row == nullptr || column == nullptr) return {};
  std::vector<std::uint32_t> cells(message.rows * message.columns, kNowhere);
  for (std::size_t i = 0; i < cloud.points; ++i) {
    const unsigned char* const record = cloud.records + i * cloud.record_bytes;
    const std::size_t r = Load<std::uint16_t>(record + row->offset);
    const std::size_t c = Load<std::uint16_t>(record + column->offset);
    if (r >= message.rows || c >= message.columns) return {};
    std::uint32_t& cell = cells[r * message.columns + c];
    if (cell != kNowhere) return {};
    cell = static_cast<std::uint32_t>(i);
  }
  return cells;
}

/// Writes points one by one behind the message's head.
class PointWriter {
 public:
  PointWriter(const RosCloud& message, const Layout& layout)
      : cloud_(message.cloud),
        time_(TimeOf(message.cloud)),
        origins_(message.origins),
        layout_(layout) {}

  /// `to` is zero.
  void Write(std::size_t point, char* to) {
    const unsigned char* const record = cloud_.records + point * cloud_.record_bytes;
    for (const Piece& piece : layout_.pieces) {
      WritePiece(piece, record + piece.from, to + piece.to);
    }
    if (IsMeasured(to)) return;
    WriteNowhere(to);
  }

  void WriteNowhere(char* to) {
    constexpr float kNoPlace[3] = {std::numeric_limits<float>::quiet_NaN(),
                                   std::numeric_limits<float>::quiet_NaN(),
                                   std::numeric_limits<float>::quiet_NaN()};
    std::memcpy(to, kNoPlace, sizeof kNoPlace);
    dense_ = false;
  }

  bool IsDense() const { return dense_; }

 private:
  void WritePiece(const Piece& piece, const unsigned char* from, char* to) const {
    switch (piece.kind) {
      case Column::Kind::kIntensity:
        Store(static_cast<float>(Load<std::uint16_t>(from)), to);
        break;
      case Column::Kind::kTime:
        Store(Since(Load<double>(from)), to);
        break;
      case Column::Kind::kCopy:
        std::memcpy(to, from, piece.bytes);
        break;
    }
  }

  static void Store(float value, char* to) { std::memcpy(to, &value, sizeof value); }

  /// A point of a model without time has none.
  float Since(double time) const { return time == 0.0 ? 0.0F : static_cast<float>(time - time_); }

  bool IsMeasured(const char* place) const {
    const auto x = Load<float>(place);
    const auto y = Load<float>(place + 4);
    const auto z = Load<float>(place + 8);
    return !std::isnan(x + y + z) && IsReturn(x, y, z, {}) &&
           std::all_of(origins_.begin(), origins_.end(),
                       [&](const Origin& origin) { return IsReturn(x, y, z, origin); });
  }

  const CloudView& cloud_;
  const double time_;  // [s] of the cloud
  const std::vector<Origin>& origins_;
  const Layout& layout_;
  bool dense_ = true;
};

std::string HeadOf(const RosCloud& message, const Layout& layout, std::size_t height,
                   std::size_t width) {
  CdrText cdr;
  cdr << message.header << static_cast<std::uint32_t>(height) << static_cast<std::uint32_t>(width);
  cdr.Sequence(layout.columns.size());
  for (const Column& column : layout.columns) {
    cdr << std::string(column.name) << static_cast<std::uint32_t>(column.offset)
        << static_cast<std::uint8_t>(column.type) << static_cast<std::uint32_t>(column.from.count);
  }
  cdr << false << static_cast<std::uint32_t>(layout.step)
      << static_cast<std::uint32_t>(layout.step * width);
  cdr.Sequence(layout.step * width * height);
  return cdr.Bytes();
}

}  // namespace

double TimeOf(const CloudView& cloud) {
  return cloud.timestamp == 0.0 ? FirstTime(cloud) : cloud.timestamp;
}

void AppendPointCloud2(const RosCloud& message, std::string& to) {
  const Layout layout = LayoutOf(message.cloud);
  const std::vector<std::uint32_t> cells = CellsOf(message);
  const bool grid = !cells.empty();
  const std::size_t points = grid ? cells.size() : message.cloud.points;
  to += HeadOf(message, layout, grid ? message.rows : 1,
               grid ? message.columns : message.cloud.points);
  const std::size_t begin = to.size();
  to.resize(begin + layout.step * points + 1);
  PointWriter writer(message, layout);
  for (std::size_t i = 0; i < points; ++i) {
    char* const place = to.data() + begin + layout.step * i;
    const std::uint32_t point = grid ? cells[i] : static_cast<std::uint32_t>(i);
    if (point == kNowhere) {
      writer.WriteNowhere(place);
    } else {
      writer.Write(point, place);
    }
  }
  to.back() = static_cast<char>(writer.IsDense());
}

std::string PointCloud2Cdr(const RosCloud& message) {
  std::string bytes;
  AppendPointCloud2(message, bytes);
  return bytes;
}

}  // namespace orliq::cli
