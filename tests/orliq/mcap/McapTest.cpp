// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "fuzz/MemoryFile.h"
#include "orliq/mcap/Crc32.h"
#include "orliq/mcap/McapFile.h"
#include "orliq/mcap/McapReader.h"
#include "orliq/mcap/McapWriter.h"
#include "orliq/mcap/PacketMessage.h"
#include "orliq/mcap/Zstd.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Bit by bit, as the sum is defined.
std::uint32_t PlainCrc(std::string_view bytes) {
  std::uint32_t sum = ~0U;
  for (const char byte : bytes) {
    sum ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) * 0xEDB88320U);
  }
  return ~sum;
}

std::uint64_t Number(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t number = 0;
  for (std::size_t i = size; i > 0; --i) {
    number = number << 8U | static_cast<std::uint8_t>(bytes.at(at + i - 1));
  }
  return number;
}

struct PlainRecord {
  int kind;
  std::size_t at;  // in the file
  std::string_view content;
};

/// All records between `at` and `end`.
std::vector<PlainRecord> Records(std::string_view bytes, std::size_t at, std::size_t end) {
  std::vector<PlainRecord> records;
  while (at < end) {
    const std::size_t size = Number(bytes, at + 1, 8);
    records.push_back({static_cast<std::uint8_t>(bytes[at]), at, bytes.substr(at + 9, size)});
    at += 9 + size;
  }
  return records;
}

/// Where the summary begins, which is where the data have ended.
std::size_t SummaryOf(std::string_view bytes) {
  return Number(bytes, bytes.size() - 8 - 20, 8);
}

/// Chunks of two messages and of one, on two channels. `put` may fail.
void WriteSome(const McapWriter::Put& put, bool compress) {
  McapWriter writer(put, compress, "test");
  const McapSchema schema = {"a/msg/B", "ros2msg", "uint8 c\n"};
  const auto one = writer.AddChannel("/one", schema);
  const auto two = writer.AddChannel("/two", schema);
  const auto flush = [&] {
    try {
      writer.Flush();
    } catch (const std::runtime_error&) {
      writer.Flush();
    }
  };
  writer.Add(one, 30, "first");
  const auto half = [](std::string& to) {
    to += "half of a message";
    throw std::length_error("no memory");
  };
  EXPECT_THROW(writer.Add(one, 5, half), std::length_error) << "and leaves nothing behind";
  writer.Add(two, 10, std::string(200, 'x'));
  flush();
  writer.Add(one, 20, "third");
  flush();
  writer.Flush();  // of nothing makes no chunk
  writer.Add(two, 40, "");
  writer.Close();
}

std::string Written(bool compress) {
  std::string bytes;
  WriteSome([&](std::string_view more) { bytes += more; }, compress);
  return bytes;
}

/// The data of the messages of a file of these bytes, and what the reader says at their end.
std::vector<std::string> ReadAll(std::string_view bytes, std::string& fault) {
  const fuzz::MemoryFile file(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  McapReader reader(file.Path());
  std::vector<std::string> data;
  for (McapMessage message; reader.Next(message);) data.emplace_back(message.data);
  fault = reader.Fault();
  return data;
}

TEST(Crc32, IsTheSumBitByBitAndThatOfPiecesJoined) {
  EXPECT_EQ(Crc32("123456789", 9), 0xCBF43926U);
  EXPECT_EQ(Crc32(nullptr, 0, 7), 7U);
  std::string bytes;
  for (int i = 0; i < 70; ++i) {
    ASSERT_EQ(Crc32(bytes.data(), bytes.size()), PlainCrc(bytes)) << i;
    const std::size_t half = bytes.size() / 3;
    const auto first = Crc32(bytes.data(), half);
    const auto second = Crc32(bytes.data() + half, bytes.size() - half);
    EXPECT_EQ(JoinCrc32(first, second, bytes.size() - half), PlainCrc(bytes)) << i;
    bytes.push_back(static_cast<char>(i * 37));
  }
}

class Mcap : public testing::TestWithParam<bool> {
 protected:
  const std::string bytes_ = Written(GetParam());
};
INSTANTIATE_TEST_SUITE_P(PlainAndCompressed, Mcap, testing::Values(false, HasZstd()));

TEST_P(Mcap, TellsWhereEverythingStandsAndItsSums) {
  const std::size_t footer = bytes_.size() - 8 - 20;
  const std::size_t summary = SummaryOf(bytes_);
  const std::size_t offsets = Number(bytes_, footer + 8, 8);
  EXPECT_EQ(Number(bytes_, footer + 16, 4),
            PlainCrc(std::string_view(bytes_).substr(summary, footer + 16 - summary)));
  const auto data = Records(bytes_, 8, summary);
  EXPECT_EQ(data.back().kind, 0x0F);
  EXPECT_EQ(Number(data.back().content, 0, 4), PlainCrc(bytes_.substr(0, data.back().at)));
  std::vector<PlainRecord> chunks, indexes;
  for (const PlainRecord& record : Records(bytes_, summary, offsets)) {
    if (record.kind == 0x08) indexes.push_back(record);
    // That of the schema, and of the channels of it: 0 would be none.
    if (record.kind == 0x03 || record.kind == 0x04) {
      EXPECT_EQ(Number(record.content, record.kind == 0x03 ? 0 : 2, 2), 1U);
    }
    if (record.kind != 0x0B) continue;
    // Messages, schemas, channels, chunks, least and greatest time, messages of each channel.
    const std::size_t fields[][3] = {{0, 8, 4},   {8, 2, 1},   {10, 4, 2}, {22, 4, 3}, {26, 8, 10},
                                     {34, 8, 40}, {42, 4, 20}, {48, 8, 2}, {58, 8, 2}};
    for (const auto& [at, size, value] : fields) {
      EXPECT_EQ(Number(record.content, at, size), value) << at;
    }
  }
  for (const PlainRecord& record : data) {
    if (record.kind == 0x06) chunks.push_back(record);
  }
  ASSERT_THAT(chunks, SizeIs(3));
  ASSERT_THAT(indexes, SizeIs(3));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(Number(indexes[i].content, 16, 8), chunks[i].at);
    EXPECT_EQ(Number(indexes[i].content, 24, 8), chunks[i].content.size() + 9);
    // Of its channels the offsets of the message indexes, by number, and the length of them all.
    const std::size_t end = 36 + Number(indexes[i].content, 32, 4);
    const std::size_t next = i < 2 ? chunks[i + 1].at : data.back().at;
    EXPECT_EQ(chunks[i].at + 9 + chunks[i].content.size() + Number(indexes[i].content, end, 8),
              next);
    for (std::size_t at = 36; at < end; at += 10) {
      const std::size_t index = Number(indexes[i].content, at + 2, 8);
      EXPECT_EQ(bytes_[index], 0x07);
      EXPECT_EQ(Number(bytes_, index + 9, 2), Number(indexes[i].content, at, 2));
    }
  }
  EXPECT_EQ(Number(chunks[0].content, 0, 8), 10U) << "least time of the first chunk";
  EXPECT_EQ(Number(chunks[0].content, 8, 8), 30U) << "greatest";
  for (const PlainRecord& group : Records(bytes_, offsets, footer - 9)) {
    const std::size_t begin = Number(group.content, 1, 8);
    for (const auto& record : Records(bytes_, begin, begin + Number(group.content, 9, 8))) {
      EXPECT_EQ(record.kind, group.content[0]);
    }
  }
}

TEST(McapIndex, PointsAtEachMessageOfAPlainChunk) {
  const std::string bytes = Written(false);
  std::size_t seen = 0;
  std::size_t sequence[2] = {};
  std::size_t records = 0;  // of the chunk before
  for (const PlainRecord& record : Records(bytes, 8, SummaryOf(bytes))) {
    if (record.kind == 0x06) records = record.at + 9 + 8 + 8 + 8 + 4 + 4 + 8;
    if (record.kind != 0x07) continue;
    for (std::size_t at = 6; at < record.content.size(); at += 16, ++seen) {
      const std::size_t message = records + Number(record.content, at + 8, 8);
      EXPECT_EQ(bytes[message], 0x05);
      EXPECT_EQ(Number(bytes, message + 9, 2), Number(record.content, 0, 2));
      EXPECT_EQ(Number(bytes, message + 11, 4), sequence[Number(record.content, 0, 2)]++);
      EXPECT_EQ(Number(bytes, message + 15, 8), Number(record.content, at, 8));
    }
  }
  EXPECT_EQ(seen, 4U);
}

TEST_P(Mcap, CutAnywhereIsReadToTheLastChunkThatIsWhole) {
  std::vector<std::size_t> ends;  // of chunks
  std::size_t over = 0;           // behind the end of the data
  for (const PlainRecord& record : Records(bytes_, 8, bytes_.size() - 8)) {
    if (record.kind == 0x06) ends.push_back(record.at + 9 + record.content.size());
    if (record.kind == 0x0F) over = record.at + 9 + record.content.size();
  }
  const std::vector<std::size_t> messages = {2, 3, 4};
  for (std::size_t size = 8; size < bytes_.size(); ++size) {
    std::size_t whole = 0;
    for (std::size_t i = 0; i < 3; ++i) whole = size >= ends[i] ? messages[i] : whole;
    std::string fault;
    EXPECT_THAT(ReadAll(std::string_view(bytes_).substr(0, size), fault), SizeIs(whole));
    EXPECT_EQ(fault.empty(), size >= over) << size << ": " << fault;
  }
}

TEST_P(Mcap, EveryDamagedByteOfTheDataIsNoticed) {
  for (std::size_t at = 8; at < SummaryOf(bytes_) - 13; ++at) {
    std::string damaged = bytes_;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
    std::string fault;
    ReadAll(damaged, fault);
    EXPECT_THAT(fault, testing::Not(IsEmpty())) << at;
  }
}

TEST_P(Mcap, DamagedChunkGivesNoMessageThoughTheEndIsMissing) {
  const auto records = Records(bytes_, 8, SummaryOf(bytes_));
  const auto chunk = std::find_if(records.begin(), records.end(),
                                  [](const PlainRecord& record) { return record.kind == 0x06; });
  std::string damaged = bytes_.substr(0, chunk->at + 9 + chunk->content.size());
  damaged[chunk->at + 9 + 24] ^= 1;  // its sum, as few changed bytes can be expanded at all
  std::string fault;
  EXPECT_THAT(ReadAll(damaged, fault), IsEmpty());
  EXPECT_THAT(fault, HasSubstr("check sum"));
}

TEST_P(Mcap, ChunkThatTheDiskDidNotTakeIsOfferedAgainAsItWas) {
  std::string bytes;
  int calls = 0;
  const auto put = [&](std::string_view more) {
    // The header, a schema and two channels come first.
    if (++calls == 5 || calls == 7) throw std::runtime_error("full");
    bytes += more;
  };
  WriteSome(put, GetParam());
  EXPECT_EQ(calls, 10);
  EXPECT_EQ(bytes, bytes_);
}

TEST(McapFile, OffersAChunkToAFullDiskOnceInASecondAndGivesUpOnlyWhatComesMeanwhile) {
  const test::TempDir dir;
  rlimit limit = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  McapFile file(dir / "f", {});
  const std::size_t topic = file.AddTopic("/a", kRosPacket);
  const std::string chunk(McapWriter::kChunkBytes, 'x');
  const auto publish = [&] { file.Publish(topic, {}, chunk); };
  publish();
  const rlimit small = {100'000, limit.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(publish(), Failure);
  ::setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, handler);
  EXPECT_THROW(publish(), Failure);
  EXPECT_EQ(file.Pending(topic), 1U);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  publish();
  EXPECT_EQ(file.Messages(topic), 1U);
  publish();
  file.Finish();
  EXPECT_EQ(file.Messages(topic), 3U);
}

TEST(McapReader, RefusesWhatNoOtherCheckWouldFind) {
  struct Row {
    const char* why;
    McapRecord kind;
    std::string content;
  };
  const auto chunk = [](std::uint64_t bytes, const char* compression, const std::string& records) {
    std::string content;
    McapBytes out(content);
    out.Put(std::uint64_t{0}).Put(std::uint64_t{0}).Put(bytes).Put(std::uint32_t{0});
    out.PutText(compression).Put(std::uint64_t{records.size()}).PutRaw(records);
    return content;
  };
  std::string end;
  McapRecordBytes(end, McapRecord::kDataEnd).Put(std::uint32_t{0});
  std::string orphan;
  McapRecordBytes(orphan, McapRecord::kMessage).PutRaw(std::string(22, '\0'));
  std::string schema, channel;
  McapBytes(schema).Put(std::uint16_t{1}).PutText(std::string(1025, 'n'));
  McapBytes(channel).Put(std::uint16_t{0}).Put(std::uint16_t{0});
  McapBytes(channel).PutText("/t").PutText(std::string(1025, 'n'));
  std::vector<Row> rows = {
      {"more bytes than can be read", McapRecord::kChunk, chunk(std::uint64_t{1} << 40U, "", "")},
      {"otherwise than by zstd", McapRecord::kChunk, chunk(1, "lz4", "x")},
      {"not as long as it says", McapRecord::kChunk, chunk(2, "", "x")},
      {"no place in it", McapRecord::kChunk, chunk(end.size(), "", end)},
      {"does not tell of", McapRecord::kChunk, chunk(orphan.size(), "", orphan)},
      {"shorter than its head", McapRecord::kMessage, std::string(21, '\0')},
      {"a schema that makes no sense", McapRecord::kSchema, schema},
      {"a channel that makes no sense", McapRecord::kChannel, channel}};
  if (HasZstd()) {
    std::string zstd;
    AppendZstd(end, zstd);
    const char* const why = "not as long as it says";
    rows.push_back({why, McapRecord::kChunk, chunk(end.size() + 1, "zstd", zstd)});
    rows.push_back({why, McapRecord::kChunk, chunk(end.size() - 1, "zstd", zstd)});
    rows.push_back({why, McapRecord::kChunk, chunk(end.size(), "zstd", zstd + 'x')});
  }
  for (const Row& row : rows) {
    std::string bytes(kMcapMagic);
    McapRecordBytes(bytes, row.kind).PutRaw(row.content);
    std::string fault;
    EXPECT_THAT(ReadAll(bytes + end, fault), IsEmpty());
    EXPECT_THAT(fault, HasSubstr(row.why));
  }
}

TEST(McapReader, ReadsNoRecordThatWouldFillTheMemory) {
  const test::TempDir dir;
  std::string bytes(kMcapMagic);
  McapBytes(bytes).Put(std::uint8_t{0x09}).Put(McapReader::kMaxBytes + 1);
  dir.Write("large.mcap", bytes);
  std::filesystem::resize_file(dir / "large.mcap", McapReader::kMaxBytes + 100);  // of a hole
  McapReader reader(dir / "large.mcap");
  McapMessage none;
  EXPECT_FALSE(reader.Next(none));
  EXPECT_THAT(reader.Fault(), HasSubstr("more bytes than can be read, at byte 8"));
}

/// Of a message that stands behind other bytes.
std::string Cdr(const PacketMessage& packet) {
  std::string bytes = "odd";
  AppendPacket(packet, bytes);
  return bytes.substr(3);
}

TEST(PacketMessage, IsReadAsItWasWrittenAndNotWhenItIsCut) {
  const PacketMessage packet = {
      {1700000000, 5000}, {192, 168, 1, 200}, 2368, {255, 255, 255, 255}, 6699, "any bytes"};
  const std::string cdr = Cdr(packet);
  const auto read = ReadPacketCdr(cdr);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->stamp.Nanoseconds(), packet.stamp.Nanoseconds());
  EXPECT_EQ(read->source, packet.source);
  EXPECT_EQ(read->destination, packet.destination);
  EXPECT_EQ(std::tie(read->source_port, read->port), std::tie(packet.source_port, packet.port));
  EXPECT_EQ(read->data, packet.data);
  PacketMessage odd = packet;
  odd.stamp.seconds = -1;
  EXPECT_FALSE(ReadPacketCdr(Cdr(odd)));
  odd.stamp = {1, 1'000'000'000};
  EXPECT_FALSE(ReadPacketCdr(Cdr(odd)));
  const std::string most(65507, 'x');
  odd = packet;
  odd.data = most;
  EXPECT_TRUE(ReadPacketCdr(Cdr(odd)));
  const std::string more = most + 'x';
  odd.data = more;
  EXPECT_FALSE(ReadPacketCdr(Cdr(odd)));
  for (std::size_t size = 0; size < cdr.size(); ++size) {
    EXPECT_FALSE(ReadPacketCdr(std::string_view(cdr).substr(0, size))) << size;
  }
}

}  // namespace
}  // namespace orliq::cli
