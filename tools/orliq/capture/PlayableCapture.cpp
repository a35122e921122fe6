// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/PlayableCapture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <vector>

#include "orliq/mcap/McapReader.h"
#include "orliq/mcap/PacketMessage.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/NumberText.h"
#include "simulator/sending/PcapWriter.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void ThrowNoRoom(const std::string& why) {
  throw Failure(ExitCode::kFileFault, "the packets of the file cannot be put aside: " + why +
                                          ". TMPDIR names a folder that has room for them");
}

/// A folder of our own, with what is in it, until the end of the scope.
class PrivateFolder {
 public:
  PrivateFolder() {
    std::error_code error;
    std::string name = (fs::temp_directory_path(error) / "orliq-XXXXXX").string();
    if (error) ThrowNoRoom(error.message());
    if (::mkdtemp(name.data()) == nullptr) ThrowNoRoom(std::generic_category().message(errno));
    path_ = name;
  }
  ~PrivateFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

/// The next packet of these topics; nothing at the end, and where nothing more can be read. Counts the
/// messages that make none.
std::optional<PacketMessage> NextPacket(McapReader& reader, const std::string& topic,
                                        std::uint64_t& odd) {
  McapMessage message;
  while (!InterruptRequested() && reader.Next(message)) {
    const McapTopic& of = reader.Topic();
    const bool wanted = topic.empty() || of.name == topic;
    if (!wanted || of.schema != kRosPacket.name || of.encoding != "cdr") continue;
    const auto packet = ReadPacketCdr(message.data);
    if (packet) return packet;
    ++odd;
  }
  return std::nullopt;
}

void Write(const PacketMessage& packet, sim::PcapWriter& to) {
  const std::vector<std::uint8_t> payload(packet.data.begin(), packet.data.end());
  const double time = packet.stamp.seconds + packet.stamp.nanoseconds * 1e-9;
  if (to.Write(payload, time,
               {packet.source, packet.destination, packet.source_port, packet.port})) {
    return;
  }
  ThrowNoRoom(std::generic_category().message(errno));
}

}  // namespace

PlayableCapture::PlayableCapture(const std::string& path, const std::string& topic)
    : file_(path), path_(path) {
  std::error_code ignored;
  const bool is_mcap = fs::is_regular_file(path, ignored) && McapReader::IsMcap(path);
  if (is_mcap) Convert(topic);
  if (is_mcap || topic.empty()) return;
  throw Failure(ExitCode::kUsage, "--topic is for a file of messages, which " + path + " is not");
}

PlayableCapture::~PlayableCapture() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void PlayableCapture::Convert(const std::string& topic) {
  McapReader reader(file_);
  const PrivateFolder folder;
  const fs::path capture = folder.Path() / "packets.pcap";
  std::string error;
  const auto writer = sim::PcapWriter::Create(capture, {}, error);
  if (!writer) ThrowNoRoom(error);
  bool any = false;
  while (const auto packet = NextPacket(reader, topic, odd_)) {
    Write(*packet, *writer);
    any = true;
  }
  if (InterruptRequested()) throw Failure(ExitCode::kLosses, "interrupted, nothing was played");
  fault_ = reader.Fault();
  if (!any) {
    throw Failure(fault_.empty() ? ExitCode::kNoData : ExitCode::kFileFault,
                  file_ + (fault_.empty() ? std::string() : ' ' + fault_ + ", and before that") +
                      " holds no packets" + (topic.empty() ? "" : " at " + topic) +
                      ": those are kept by --with-packets of orliq play, live and fuse");
  }
  if (!writer->Close(error)) ThrowNoRoom(error);
  descriptor_ = ::open(capture.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) ThrowNoRoom(std::generic_category().message(errno));
  path_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

void PlayableCapture::RequireWhole() const {
  if (!fault_.empty()) {
    throw Failure(ExitCode::kLosses,
                  file_ + ' ' + fault_ + "; the packets before that were played");
  }
  if (odd_ == 0) return;
  throw Failure(ExitCode::kLosses,
                Count(odd_, "message") + " in " + file_ + " should be packets and make none");
}

}  // namespace orliq::cli
