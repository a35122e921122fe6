// SPDX-License-Identifier: Apache-2.0
// Writes inputs for a fuzzer to begin with, made of what the simulated sensors send: fuzz_seeds FOLDER.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/DecoderSetup.h"
#include "simulator/scene/Scene.h"
#include "simulator/sending/ParamWire.h"
#include "simulator/sending/UdpFramer.h"
#include "simulator/sensors/CheckImage.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::fuzz {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

/// Bytes one behind the other.
class Writer {
 public:
  Writer& Number(std::size_t bytes, std::size_t value) {
    for (std::size_t i = 0; i < bytes; ++i)
      bytes_.push_back(static_cast<std::uint8_t>(value >> 8 * i));
    return *this;
  }
  template <typename T>
  Writer& Add(const std::vector<T>& values) {
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(values.data());
    bytes_.insert(bytes_.end(), begin, begin + values.size() * sizeof(T));
    return *this;
  }
  /// A datagram as fuzz::Datagrams reads it.
  Writer& Datagram(unsigned how, std::size_t at, const Bytes& patch) {
    return Number(1, how).Number(2, at).Number(2, patch.size()).Add(patch);
  }
  void Save(const fs::path& path) const {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes_.data()),
               static_cast<std::streamsize>(bytes_.size()));
  }
  const Bytes& Content() const { return bytes_; }

 private:
  Bytes bytes_;
};

/// The weights and filter settings of the sensor's tables; zeros for one without.
std::vector<float> Settings(const sim::Sensor& sensor) {
  std::vector<float> settings;
  for (const char* word : {"weight", "near_filter"}) {
    for (const sim::CheckTable& table : sensor.Tables()) {
      if (table.word == word)
        settings.insert(settings.end(), table.values.begin(), table.values.end());
    }
  }
  settings.resize(kSettings / sizeof(float));
  return settings;
}

/// A frame that is too long to be whole; and packets of another length or identifier.
void SaveOddPackets(const fs::path& folder, const Bytes& packet) {
  const Bytes block(packet.begin() + 25, packet.begin() + 41);
  Writer frame;
  frame.Number(1, 0).Datagram(kBlank | kFill | kForAFrame, 25, block).Save(folder / "long-frame");
  Writer lengths;
  lengths.Number(1, 0);
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{8}, packet.size() - 1, packet.size() + 1}) {
    lengths.Number(1, kResized).Number(2, size).Number(2, 0).Number(2, 0);
  }
  lengths.Datagram(0, 0, {0}).Save(folder / "lengths");
}

/// The first packets of a frame, its last one, and the first of the next.
void SaveDecoderSeeds(const fs::path& folder, const std::string& model) {
  const auto sensor = sim::MakeSensor(model, {});
  const auto scene = sim::MakeScene("boxes");
  const auto frame = sensor->EncodeFrame(*scene, 0);
  const auto next = sensor->EncodeFrame(*scene, 1);
  const auto& first = frame.front().payload;
  unsigned option = 0;
  for (const unsigned setup :
       {kTransform, kTables | kRadiusFilter, kTables | kWildTables, kPortable}) {
    Writer stream;
    stream.Number(1, setup | option++ % 4);
    if ((setup & kTables) != 0) stream.Add(Settings(*sensor));
    stream.Datagram(kBlank, 0, first).Datagram(kBlank, 0, frame[1].payload);
    stream.Datagram(kBlank | kRemarked, 0, frame.back().payload)
        .Datagram(kBlank, 0, next.front().payload);
    stream.Save(folder / model / ("frame-" + std::to_string(option)));
  }
  SaveOddPackets(folder / model, first);
}

Writer ClassicHeader(std::size_t snap_length) {
  Writer header;
  header.Number(4, 0xA1B2C3D4).Number(2, 2).Number(2, 4).Number(8, 0);
  return header.Number(4, snap_length).Number(4, 1);
}

/// Datagrams of two ports: in the classic format, there also with records longer than its snap length,
/// and in pcapng with a second section.
void SaveCaptureSeeds(const fs::path& folder) {
  sim::UdpFlow other;
  other.destination_port = 2369;
  const Bytes frames[] = {sim::UdpFramer::Create({})->Frame(Bytes(22, 'a')),
                          sim::UdpFramer::Create(other)->Frame(Bytes(18, 'b'))};
  Writer records;
  Writer blocks;
  for (int section = 0; section < 2; ++section) {
    blocks.Number(4, 0x0A0D0D0A).Number(4, 28).Number(4, 0x1A2B3C4D).Number(4, 1);
    blocks.Number(8, 0).Number(4, 28);
    blocks.Number(4, 1).Number(4, 20).Number(4, 1).Number(4, 65535).Number(4, 20);
    for (const Bytes& frame : frames) {
      records.Number(8, 1700000000).Number(4, frame.size()).Number(4, frame.size()).Add(frame);
      const std::size_t length = 32 + frame.size();
      blocks.Number(4, 6).Number(4, length).Number(4, 0).Number(8, 0);
      blocks.Number(4, frame.size()).Number(4, frame.size()).Add(frame).Number(4, length);
    }
  }
  ClassicHeader(65535).Add(records.Content()).Save(folder / "capture" / "classic.pcap");
  ClassicHeader(50).Add(records.Content()).Save(folder / "capture" / "beyond-snap-length.pcap");
  blocks.Save(folder / "capture" / "two-sections.pcapng");
}

void SaveTableSeeds(const fs::path& folder) {
  for (sim::CheckTable table : sim::MakeSensor("juniq", {})->Tables()) {
    table.values.resize(std::min<std::size_t>(table.values.size(), 20));
    const std::string text = sim::TableText(table);
    Writer()
        .Add(Bytes(text.begin(), text.end()))
        .Save(folder / "table_file" / sim::TableFileName(table));
  }
  const std::string odd =
      " 1.5,-0x1.8p3,nan(12),inf,,text\r\n\n1e39,4e-46,-2,\n3.4028236e38,1e-400";
  Writer().Add(Bytes(odd.begin(), odd.end())).Save(folder / "table_file" / "odd.csv");
}

void SaveUploadSeeds(const fs::path& folder) {
  auto tables = sim::MakeSensor("juniq", {})->Tables();
  const auto is_long = [](const sim::CheckTable& table) { return table.values.size() > 100; };
  tables.erase(std::remove_if(tables.begin(), tables.end(), is_long), tables.end());
  const Bytes image = sim::CheckImage(tables);
  for (const unsigned options : {0U, 4U, 1U, 7U}) {
    Writer upload;
    upload.Number(1, options);
    for (std::size_t at = 0; at < image.size(); at += 40) {
      const Bytes reply =
          sim::ParamReply(image, sim::PieceFor({static_cast<std::uint32_t>(at), 40}, image.size()));
      upload.Number(1, kBlank | kResized | (at == 40 ? kRemarked : 0)).Number(2, reply.size());
      upload.Number(2, 0).Number(2, reply.size()).Add(reply);
    }
    upload.Save(folder / "upload" / ("pieces-" + std::to_string(options)));
  }
  // An image of 198,000 bytes that begins with a whole table.
  Writer table;
  table.Number(1, 4).Datagram(kBlank, 4, {0x90, 0x05, 0x03}).Datagram(0, 36, {'A', 'A', 'A', 'A'});
  table.Datagram(kFill | kForAFrame, 36, {0, 0, 0x80, 0x3F})
      .Save(folder / "upload" / "whole-table");
}

}  // namespace
}  // namespace orliq::fuzz

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: fuzz_seeds FOLDER\n", stderr), 2;
  const std::filesystem::path folder = argv[1];
  for (const auto& model : orliq::lidar::SensorModels())
    orliq::fuzz::SaveDecoderSeeds(folder, model.name);
  orliq::fuzz::SaveCaptureSeeds(folder);
  orliq::fuzz::SaveTableSeeds(folder);
  orliq::fuzz::SaveUploadSeeds(folder);
  return 0;
}
