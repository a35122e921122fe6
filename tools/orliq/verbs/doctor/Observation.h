// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/CalibrationStatus.h"
#include "orliq/capture/FlowList.h"
#include "orliq/clouds/LiveSource.h"
#include "orliq/network/HostState.h"
#include "orliq/network/PacketLook.h"
#include "orliq/network/PortHolders.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/Models.h"
#include "orliq/verbs/params/UploadRemarks.h"

// What was seen, before anything is made of it.
namespace orliq::cli {

/// The way to the sensor, if the user named an address of it.
struct Way {
  std::string sensor;
  std::optional<std::uint32_t> from;  ///< this machine's address on that way; nothing: no route
};

/// Where a sensor's calibration is to come from and what became of it.
struct CalibrationFacts {
  std::optional<std::string> folder;
  CheckFolderReport report;                  ///< of the folder
  std::vector<std::string> hints;            ///< on its files
  std::size_t suspicious = 0;                ///< what a good folder would not hold
  UploadRequest request;                     ///< to the sensor, if it asks
  std::vector<lidar::RefusedTable> refused;  ///< of what the sensor sent
};

/// Of one sensor. First a plain socket looked at what comes, then the driver received.
struct Observation {
  const Model* model = nullptr;  ///< as the user said; null: not said
  std::string address;           ///< to listen on; empty: every one
  std::uint16_t port = 0;
  std::string source;               ///< the only sender that counts; empty: any
  std::vector<PortHolder> holders;  ///< of the port, when it began; or else at the end
  std::string no_port;              ///< why the port cannot be had; empty: it was
  std::vector<Flow> flows;          ///< of the plain socket
  double flow_seconds = 0.0;        ///< it looked
  const Model* driven = nullptr;    ///< the model that the driver took it for; null: it did not run
  double seconds = 0.0;             ///< it ran
  LiveCounts counts;                ///< of the driver
  CalibrationFacts calibration;
  std::optional<Way> way;
};

/// Of the machine during that time.
struct MachineState {
  std::vector<Interface> interfaces;  ///< with what they received meanwhile
  StackCounters stack;                ///< meanwhile
  SeenPackets seen;
  std::uint64_t largest_buffer = 0;  ///< [bytes] that a program may ask for; 0: not known
  std::vector<std::uint16_t> ports;  ///< of the sensors that are examined
  std::vector<std::uint16_t> held;   ///< of those that `seen` tells of, which another program has
  std::string program;               ///< path of this one, for commands
};

}  // namespace orliq::cli
