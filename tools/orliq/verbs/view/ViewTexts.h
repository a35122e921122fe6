// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "multi_driver/Messages.h"
#include "orliq/clouds/CloudView.h"
#include "orliq/sensors/Models.h"
#include "orliq/verbs/Ledger.h"

// The text messages that a page gets: docs/view-protocol.md.
namespace orliq::cli {

/// A sensor of the view.
struct ViewedSensor {
  std::string name;
  const Model* model = nullptr;
  lidar::DriverParam param;  ///< its pose counts
};

/// What is shown, said once to each page.
struct ViewedSource {
  std::string title;  ///< "juniq on port 2368", "drive.pcap"
  std::string point;  ///< as --point names it
  std::vector<ViewedSensor> sensors;
  int entries = 0;  ///< frames of a capture; 0: live
};

/// Where the player of a capture stands.
struct PlayerState {
  bool playing = true;
  int entry = 0;
  int entries = 0;
  double speed = 1.0;
  bool loop = true;
};

/// What the user must know, in paragraphs of plain text.
struct ViewNotice {
  bool bad = false;  ///< something must be mended; else a remark
  std::string text;
};

std::string HelloText(const ViewedSource& source);
std::string PlayerText(const PlayerState& state);
std::string LedgerText(const std::vector<NamedLedger>& ledgers,
                       const std::vector<ViewNotice>& notices);
std::string ImuText(const std::vector<lidar::ImuMsg>& samples);
std::string EndText(const std::string& why);

}  // namespace orliq::cli
