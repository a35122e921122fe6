// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudFormat.h"

#include <charconv>
#include <cstdint>
#include <cstring>

#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the binary formats hold the records as they lie in memory");

/// The value `get(field)` of every field, each after a blank.
template <typename Get>
std::string PcdLine(const char* keyword, const CloudView& cloud, Get get) {
  std::string line = keyword;
  for (std::size_t i = 0; i < cloud.field_count; ++i) line += ' ' + get(cloud.fields[i]);
  return line + '\n';
}

std::string PcdHeader(const CloudView& cloud) {
  const std::string points = std::to_string(cloud.points);
  std::string text = "# .PCD v0.7 - Point Cloud Data file format\n";
  text += "# time of the frame, seconds UTC: " + Fixed(cloud.timestamp, 6) + '\n';
  text += "VERSION 0.7\n";
  text += PcdLine("FIELDS", cloud, [](const PointField& f) { return std::string(f.name); });
  text += PcdLine("SIZE", cloud, [](const PointField& f) { return std::to_string(f.width); });
  text += PcdLine("TYPE", cloud,
                  [](const PointField& f) { return std::string(1, static_cast<char>(f.kind)); });
  text += PcdLine("COUNT", cloud, [](const PointField& f) { return std::to_string(f.count); });
  text += "WIDTH " + points + "\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS " + points;
  return text + "\nDATA binary\n";
}

/// "source_3" for an element of an array, else the field's own name.
std::string ElementName(const PointField& field, std::size_t element) {
  if (field.count == 1) return field.name;
  return std::string(field.name) + '_' + std::to_string(element);
}

std::string PlyType(const PointField& field) {
  if (field.kind == FieldKind::kFloat) return field.width == 8 ? "double" : "float";
  const std::string sign = field.kind == FieldKind::kUnsigned ? "u" : "";
  return sign + (field.width == 1 ? "char" : field.width == 2 ? "short" : "int");
}

std::string PlyHeader(const CloudView& cloud) {
  std::string text = "ply\nformat binary_little_endian 1.0\n";
  text += "comment time of the frame, seconds UTC: " + Fixed(cloud.timestamp, 6) + '\n';
  text += "element vertex " + std::to_string(cloud.points) + '\n';
  for (std::size_t i = 0; i < cloud.field_count; ++i) {
    const PointField& field = cloud.fields[i];
    for (std::size_t element = 0; element < field.count; ++element) {
      text += "property " + PlyType(field) + ' ' + ElementName(field, element) + '\n';
    }
  }
  return text + "end_header\n";
}

std::string CsvHeader(const CloudView& cloud) {
  std::string text;
  for (std::size_t i = 0; i < cloud.field_count; ++i) {
    const PointField& field = cloud.fields[i];
    for (std::size_t element = 0; element < field.count; ++element) {
      text += (text.empty() ? "" : ",") + ElementName(field, element);
    }
  }
  return text + '\n';
}

template <typename Number>
void AppendNumber(std::string& text, const unsigned char* bytes) {
  Number number;
  std::memcpy(&number, bytes, sizeof(number));
  char digits[64];
  text.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

void AppendElement(std::string& text, const PointField& field, const unsigned char* bytes) {
  if (field.kind == FieldKind::kFloat) {
    field.width == 8 ? AppendNumber<double>(text, bytes) : AppendNumber<float>(text, bytes);
  } else if (field.kind == FieldKind::kSigned) {
    AppendNumber<std::int32_t>(text, bytes);
  } else if (field.width == 1) {
    AppendNumber<std::uint8_t>(text, bytes);
  } else if (field.width == 2) {
    AppendNumber<std::uint16_t>(text, bytes);
  } else {
    AppendNumber<std::uint32_t>(text, bytes);
  }
}

void AppendRow(std::string& text, const CloudView& cloud, const unsigned char* record) {
  for (std::size_t i = 0; i < cloud.field_count; ++i) {
    const PointField& field = cloud.fields[i];
    for (std::size_t element = 0; element < field.count; ++element) {
      AppendElement(text, field, record + field.offset + element * field.width);
      text += ',';
    }
  }
  text.back() = '\n';
}

}  // namespace

std::optional<CloudFormat> ParseCloudFormat(const std::string& name) {
  for (const auto format : {CloudFormat::kPcd, CloudFormat::kPly, CloudFormat::kCsv}) {
    if (name == CloudFormatName(format)) return format;
  }
  return std::nullopt;
}

std::string CloudFormatName(CloudFormat format) {
  if (format == CloudFormat::kPcd) return "pcd";
  return format == CloudFormat::kPly ? "ply" : "csv";
}

std::string CloudHeader(CloudFormat format, const CloudView& cloud) {
  if (format == CloudFormat::kPcd) return PcdHeader(cloud);
  return format == CloudFormat::kPly ? PlyHeader(cloud) : CsvHeader(cloud);
}

std::string CsvRows(const CloudView& cloud) {
  std::string text;
  for (std::size_t i = 0; i < cloud.points; ++i) {
    AppendRow(text, cloud, cloud.records + i * cloud.record_bytes);
  }
  return text;
}

}  // namespace orliq::cli
