// SPDX-License-Identifier: Apache-2.0
// Writes inputs for a fuzzer to begin with, made of what the simulated sensors send: fuzz_seeds FOLDER.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "fuzz/DecoderSetup.h"
#include "fuzz/FlowLaws.h"
#include "orliq/mcap/McapWriter.h"
#include "orliq/mcap/PacketMessage.h"
#include "orliq/mcap/Zstd.h"
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

/// A frame of many returns in few beams, which the radius filter looks through.
void SaveFilteredFrame(const fs::path& folder, const sim::Sensor& sensor, const Bytes& first,
                       const Bytes& last) {
  constexpr unsigned kFourTimes = 0xC0;
  Writer stream;
  stream.Number(1, kTables | kRadiusFilter | 2).Add(Settings(sensor)).Datagram(kBlank, 0, first);
  for (int i = 0; i < 8; ++i) stream.Number(1, kFourTimes).Number(2, 0).Number(2, 0);
  stream.Datagram(kBlank, 0, last).Save(folder / "filtered");
}

/// The first packets of a frame, its last one, and the first of the next.
void SaveDecoderSeeds(const fs::path& folder, const std::string& model) {
  const auto sensor = sim::MakeSensor(model, {});
  const auto scene = sim::MakeScene("boxes");
  const auto frame = sensor->EncodeFrame(*scene, 0);
  const auto next = sensor->EncodeFrame(*scene, 1);
  const auto& first = frame.front().payload;
  unsigned option = 0;
  for (const unsigned setup : {kTransform, kTables | kRadiusFilter, kTables | kWildTables,
                               kPortable, kRadiusFilter | kTransform}) {
    Writer stream;
    stream.Number(1, setup | option++ % 4);
    if ((setup & kTables) != 0) stream.Add(Settings(*sensor));
    stream.Datagram(kBlank, 0, first).Datagram(kBlank, 0, frame[1].payload);
    // Remarked, it is decoded from behind its frame marker on, so that the frame does not end with it.
    const unsigned behind = option % 2 == 0 ? kRemarked : 0;
    stream.Datagram(kBlank | behind, 0, frame.back().payload)
        .Datagram(kBlank | kAfterNews, 0, next.front().payload)
        .Add(Settings(*sensor));
    stream.Datagram(kBlank | kAfterJump, 0, frame.back().payload);
    stream.Datagram(kBlank | kResized, 0, {})
        .Save(folder / model / ("frame-" + std::to_string(option)));
  }
  SaveOddPackets(folder / model, first);
  SaveFilteredFrame(folder / model, *sensor, first, frame.back().payload);
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

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// A frame of a blank packet with other bytes in place of some at `at`.
Bytes Patched(Bytes frame, std::size_t at, const Bytes& bytes, std::size_t instead) {
  const auto begin = frame.begin() + static_cast<std::ptrdiff_t>(at);
  frame.erase(begin, begin + static_cast<std::ptrdiff_t>(instead));
  frame.insert(frame.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(), bytes.end());
  return frame;
}

/// Frames whose datagram the driver cannot read, or that hold none.
std::vector<Bytes> OddFrames(const lidar::SensorModel& model) {
  const Bytes good = BlankFrame(model);
  const Bytes address(16, 0x20);
  const auto ipv6 = [&](std::uint8_t next, const Bytes& options) {
    const Bytes header = Bytes{0x86, 0xDD, 0x60, 0, 0, 0, 0, 0, next, 64} + address + address;
    return Patched(good, 12, header + options, 22);
  };
  const Bytes closed = Patched(Patched(good, 23, {1}, 1), 34, {3, 3, 0, 0, 0, 0, 0, 0}, 8);
  const Bytes udp(good.begin() + 14, good.begin() + 42);
  return {good,
          Patched(good, 12, {0x81, 0, 0, 5}, 0),
          Patched(good, 12, {0x88, 0xA8, 0, 5, 0x81, 0, 0, 6}, 0),
          Patched(Patched(good, 14, {0x46}, 1), 34, {1, 1, 1, 0}, 0),
          Patched(good, 14, {0x44}, 1),
          Patched(Patched(good, 20, {0x20}, 1), 38, {0x10, 0}, 2),
          Patched(good, 21, {1}, 1),
          Patched(good, 23, {6}, 1),
          Patched(good, 36, {0x09, 0x41}, 2),
          ipv6(17, {}),
          ipv6(0, {17, 1, 5, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
          ipv6(44, {17, 0, 0, 1, 0, 0, 0, 7}),
          ipv6(44, {17, 0, 1, 1, 0, 0, 0, 7}),
          Bytes(closed.begin(), closed.begin() + 42) + udp,
          good + Bytes(1500)};
}

/// Each as it is, and cut; a capture of them all, and one that is not of Ethernet frames.
void SaveFrameSeeds(const fs::path& folder) {
  for (const auto& model : lidar::SensorModels()) {
    Writer frames;
    Writer records;
    frames.Number(1, static_cast<std::size_t>(&model - lidar::SensorModels().data()));
    for (const Bytes& frame : OddFrames(model)) {
      frames.Datagram(kBlank, 0, Bytes(frame.begin(), frame.begin() + 70));
      frames.Number(1, kResized | kRemarked).Number(2, 60).Number(2, 0).Number(2, 0);
      records.Number(8, 1700000000).Number(4, frame.size()).Number(4, frame.size()).Add(frame);
      for (const std::size_t there : {std::size_t{50}, std::size_t{30}}) {
        const std::size_t wire = there == 30 ? there : frame.size();
        records.Number(8, 1700000001).Number(4, there).Number(4, wire);
        records.Add(Bytes(frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(there)));
      }
    }
    frames.Save(folder / "frame" / (std::string("odd-") + model.name));
    ClassicHeader(65535)
        .Add(records.Content())
        .Save(folder / "survey" / (std::string("odd-") + model.name));
  }
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
  for (const unsigned options : {0U, 4U, 1U, 7U, 2U, 8U, 9U, 10U}) {
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
  // Images that one reply completes: of no byte, and of 17.
  for (const std::size_t size : {std::size_t{0}, std::size_t{17}}) {
    Writer reply;
    reply.Number(1, 0).Number(1, kBlank | kResized).Number(2, 39 + size).Number(2, 4).Number(2, 4);
    reply.Number(4, 32 + size).Save(folder / "upload" / ("image-" + std::to_string(size)));
  }
  // An image of 198,000 bytes that begins with a whole table.
  Writer table;
  table.Number(1, 4).Datagram(kBlank, 4, {0x90, 0x05, 0x03}).Datagram(0, 36, {'A', 'A', 'A', 'A'});
  table.Datagram(kFill | kForAFrame, 36, {0, 0, 0x80, 0x3F})
      .Save(folder / "upload" / "whole-table");
}

/// Packets in chunks, plain and compressed if that can be had.
void SaveMcapSeeds(const fs::path& folder) {
  for (const bool compress : {false, cli::HasZstd()}) {
    Writer file;
    cli::McapWriter writer(
        [&file](std::string_view piece) { file.Add(Bytes(piece.begin(), piece.end())); }, compress,
        "seeds");
    const auto channel =
        writer.AddChannel("/packets", {cli::kRosPacket.name, "ros2msg", "uint8[] data\n"});
    for (std::uint16_t i = 0; i < 4; ++i) {
      const cli::PacketMessage packet = {{i, 0}, {127, 0, 0, 1}, i, {127, 0, 0, 2}, i, "payload"};
      writer.Add(channel, i, [&](std::string& to) { cli::AppendPacket(packet, to); });
      if (i == 2) writer.Flush();
    }
    writer.Close();
    file.Save(folder / "mcap" / (compress ? "compressed.mcap" : "plain.mcap"));
  }
}

}  // namespace
}  // namespace orliq::fuzz

int main(int argc, char** argv) {
  if (argc != 2) return std::fputs("usage: fuzz_seeds FOLDER\n", stderr), 2;
  const std::filesystem::path folder = argv[1];
  for (const auto& model : orliq::lidar::SensorModels())
    orliq::fuzz::SaveDecoderSeeds(folder, model.name);
  orliq::fuzz::SaveCaptureSeeds(folder);
  orliq::fuzz::SaveFrameSeeds(folder);
  orliq::fuzz::SaveTableSeeds(folder);
  orliq::fuzz::SaveUploadSeeds(folder);
  orliq::fuzz::SaveMcapSeeds(folder);
  return 0;
}
