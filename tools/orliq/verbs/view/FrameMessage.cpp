// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/FrameMessage.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <ratio>
#include <vector>

#include "orliq/terminal/Json.h"

namespace orliq::cli {
namespace {

constexpr std::uint32_t kMagic = 0x3146564F;  // "OVF1"
constexpr std::size_t kAlignment = 8;         // of every array, as f64 needs it
constexpr std::size_t kCoordinates = 3;       // x, y, z: the first fields of every point

std::size_t Aligned(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

/// One array of the message: some bytes of each record.
struct Array {
  std::string name;
  std::string type;
  std::size_t count;   // numbers of a point
  std::size_t offset;  // [bytes] in the record
  std::size_t width;   // [bytes] of a point
  std::size_t place;   // [bytes] in the arrays
};

std::string TypeOf(const PointField& field) {
  const char kind = field.kind == FieldKind::kFloat    ? 'f'
                    : field.kind == FieldKind::kSigned ? 'i'
                                                       : 'u';
  return kind + std::to_string(8 * field.width);
}

std::vector<Array> ArraysOf(const CloudView& cloud) {
  std::vector<Array> arrays = {
      {"xyz", "f32", kCoordinates, cloud.fields[0].offset, kCoordinates * sizeof(float), 0}};
  for (std::size_t i = kCoordinates; i < cloud.field_count; ++i) {
    const PointField& field = cloud.fields[i];
    const std::size_t width = field.width * field.count;
    const std::size_t place = arrays.back().place + Aligned(arrays.back().width * cloud.points);
    arrays.push_back({field.name, TypeOf(field), field.count, field.offset, width, place});
  }
  return arrays;
}

/// With the width known to the compiler a copy is one instruction or two.
template <std::size_t width>
void Gather(const CloudView& cloud, std::size_t offset, char* to) {
  const unsigned char* from = cloud.records + offset;
  for (std::size_t i = 0; i < cloud.points; ++i) {
    std::memcpy(to + i * width, from + i * cloud.record_bytes, width);
  }
}

void Gather(const CloudView& cloud, const Array& array, char* to) {
  switch (array.width) {
    case 2:
      return Gather<2>(cloud, array.offset, to);
    case 4:
      return Gather<4>(cloud, array.offset, to);
    case 8:
      return Gather<8>(cloud, array.offset, to);
    case 9:
      return Gather<9>(cloud, array.offset, to);
    case 12:
      return Gather<12>(cloud, array.offset, to);
    default:
      break;
  }
  for (std::size_t i = 0; i < cloud.points; ++i) {
    std::memcpy(to + i * array.width, cloud.records + i * cloud.record_bytes + array.offset,
                array.width);
  }
}

/// A time span or the time since 1970, in other units.
template <typename Period>
double Count(std::chrono::duration<std::int64_t, std::nano> time) {
  return std::chrono::duration<double, Period>(time).count();
}

Json Describe(const ShownFrame& frame, std::uint64_t skipped) {
  const CloudView& cloud = frame.cloud.view;
  Json json = {{"frame", frame.number}, {"skipped", skipped}};
  if (frame.entry >= 0) json["entry"] = frame.entry;
  json["time"] = cloud.timestamp;
  if (frame.entry < 0) {
    json["age_ms"] = Count<std::milli>(ShownFrame::Clock::now() - frame.when);
    json["sent"] = Count<std::ratio<1>>(std::chrono::system_clock::now().time_since_epoch());
  }
  json["points"] = cloud.points;
  Json& sensors = json["sensors"] = Json::Array();
  for (const CloudPart& part : frame.cloud.parts) {
    Json sensor = {{"points", part.points}, {"time", part.timestamp}};
    if (part.entry >= 0) sensor["entry"] = part.entry;
    sensors.Add(std::move(sensor));
  }
  return json;
}

Json Describe(const std::vector<Array>& arrays, std::size_t head) {
  Json list = Json::Array();
  for (const Array& array : arrays) {
    list.Add({{"name", array.name},
              {"type", array.type},
              {"count", array.count},
              {"offset", head + array.place}});
  }
  return list;
}

std::string Word(std::uint32_t number) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    bytes += static_cast<char>(number >> shift & 0xFFU);
  }
  return bytes;
}

}  // namespace

void FillArrays(const CloudView& cloud, std::string& bytes) {
  const std::vector<Array> arrays = ArraysOf(cloud);
  bytes.resize(arrays.back().place + arrays.back().width * cloud.points);
  if (cloud.points == 0) return;  // nor are there records, of which to take a part
  for (const Array& array : arrays) Gather(cloud, array, bytes.data() + array.place);
}

std::string FrameHead(const ShownFrame& frame, std::uint64_t skipped) {
  constexpr std::size_t kWords = 2 * sizeof(std::uint32_t);
  const std::vector<Array> arrays = ArraysOf(frame.cloud.view);
  Json json = Describe(frame, skipped);
  // The offsets depend on the length and the length on the offsets: room for the longest of them.
  json["arrays"] = Describe(arrays, UINT32_MAX);
  const std::size_t length = Aligned(kWords + json.Text().size());
  json["arrays"] = Describe(arrays, length);
  std::string text = json.Text();
  text.resize(length - kWords, ' ');
  return Word(kMagic) + Word(static_cast<std::uint32_t>(text.size())) + text;
}

}  // namespace orliq::cli
