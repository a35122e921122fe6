// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The one place of the library that prints. Every text stands here once; each call gives one whole
// line to the application's sink (multi_driver/Diagnostics.h) or writes it to its stream, independent
// of the locale and the format flags of the application's streams.
namespace orliq::lidar::diagnostics {

void PacketLengthMismatch(std::size_t expected, std::size_t size);
void PacketIdentifierMismatch();

void DecoderType(std::uint32_t type);
void WrongLidarType();
void WrongInputType();

void CheckFolderLoaded(bool loaded);

/// All three add the text of errno, on standard error.
void SocketCreationFailed();
void SocketOptionFailed();
void BindFailed();

void CaptureOpened(const std::string& path);
void CaptureIndexed();
void CloudProviderMissing();

void FilterInUse(float enable, float radius, float min_neighbours);
void FilterEmptyCloud(std::size_t points);
void FilterMaskMismatch();

void FolderEntry(const std::string& path);
void AngleTable(const std::string& name);
void AngleTableSize(std::size_t found, std::size_t needed);

void ParamReplyRefused();
void ParamImageCut(std::size_t pieces);
void ParamPieceFound(const std::string& marker);

/// Prints a block of text as it stands, for the debug dumps of the decoders.
void Dump(const std::string& text);

}  // namespace orliq::lidar::diagnostics
