// SPDX-License-Identifier: Apache-2.0
#include "common/Diagnostics.h"

#include <cerrno>
#include <locale>
#include <sstream>
#include <system_error>

#include "common/DiagnosticSink.h"

namespace orliq::lidar::diagnostics {
namespace {

constexpr const char* kRed = "\033[1m\033[31m";
constexpr const char* kGreen = "\033[1m\033[32m";
constexpr const char* kYellow = "\033[1m\033[33m";
constexpr const char* kPlain = "\033[0m";

void Line(const std::string& text) {
  WriteDiagnostic(DiagnosticStream::Output, text + '\n');
}

void ErrorLine(const std::string& text) {
  WriteDiagnostic(DiagnosticStream::Error, text + '\n');
}

/// The line that the system's error printer writes, but in one piece.
void SystemErrorLine(const std::string& text) {
  const int error = errno;
  ErrorLine(text + ": " + std::generic_category().message(error));
}

void Coloured(const char* colour, const char* text) {
  Line(std::string(colour) + text + kPlain);
}

/// The value as a default stream prints it, whatever locale the application has set.
std::string Plain(float value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream << value;
  return stream.str();
}

/// The path in double quotes, with quotes and backslashes inside it escaped.
std::string Quoted(const std::string& path) {
  std::string text = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  return text += '"';
}

}  // namespace

void PacketLengthMismatch(std::size_t expected, std::size_t size) {
  Line("ProcessMsopPacket MSOP_LEN:" + std::to_string(expected) + " size:" + std::to_string(size));
}
void PacketIdentifierMismatch() {
  Line("ProcessMsopPacket MSOP_ID");
}

void DecoderType(std::uint32_t type) {
  Line("type:" + std::to_string(type));
}
void WrongLidarType() {
  Coloured(kRed, "Wrong LiDAR Type. Please check your LiDAR Version! ");
}
void WrongInputType() {
  Coloured(kRed, "Wrong Input Type. Please check your LiDAR Version! ");
}

void CheckFolderLoaded(bool loaded) {
  Line(loaded ? "LoadCheckFolder success!" : "LoadCheckFolder failed!");
}

void SocketCreationFailed() {
  SystemErrorLine("socket creation failed");
}
void SocketOptionFailed() {
  SystemErrorLine("setsockopt failed");
}
void BindFailed() {
  SystemErrorLine("bind failed");
}

void CaptureOpened(const std::string& path) {
  Line("pcap_file:" + path);
}
void CaptureIndexed() {
  Coloured(kGreen, "pcap file is load finished!");
}
void CloudProviderMissing() {
  Coloured(kYellow, "Error:Get point cloud call back is nullptr!");
}

void FilterInUse(float enable, float radius, float min_neighbours) {
  Line("is_use_filter:" + Plain(enable) + " " + Plain(radius) + " " + Plain(min_neighbours));
}
void FilterEmptyCloud(std::size_t points) {
  Line("point_cloud->points size:" + std::to_string(points));
}
void FilterMaskMismatch() {
  ErrorLine("Error: mask size mismatch");
}

void FolderEntry(const std::string& path) {
  Line("文件: " + Quoted(path));
}
void AngleTable(const std::string& name) {
  Line(name);
}
void AngleTableSize(std::size_t found, std::size_t needed) {
  Line("list.size():" + std::to_string(found) + " size:" + std::to_string(needed));
}

void ParamReplyRefused() {
  Line("data is erorr!");
}
void ParamImageCut(std::size_t pieces) {
  Line("check_buffers size:" + std::to_string(pieces));
}
void ParamPieceFound(const std::string& marker) {
  Line("find " + marker);
}

void Dump(const std::string& text) {
  WriteDiagnostic(DiagnosticStream::Output, text);
}

}  // namespace orliq::lidar::diagnostics
