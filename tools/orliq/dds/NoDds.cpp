// SPDX-License-Identifier: Apache-2.0
// In place of DDS, for a program that is built without the library it stands on.
#include "orliq/dds/DdsOutlet.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

namespace {

Failure WithoutDds() {
  return {ExitCode::kUsage,
          "this orliq was built without DDS: install cyclonedds-dev and build it again"};
}

}  // namespace

class DdsOutlet::Network {};
class DdsInlet::Network {};

DdsSettings DdsSettingsOfRos() {
  return {};
}

DdsOutlet::DdsOutlet(const DdsSettings& /*settings*/) {
  throw WithoutDds();
}

DdsOutlet::~DdsOutlet() = default;

std::size_t DdsOutlet::AddTopic(const RosTopic& /*topic*/) {
  return 0;
}

void DdsOutlet::Publish(std::size_t /*topic*/, const RosTime& /*stamp*/,
                        std::shared_ptr<const std::string> /*cdr*/) {}

std::uint64_t DdsOutlet::Refused() const {
  return 0;
}

DdsInlet::DdsInlet(const DdsSettings& /*settings*/, const RosTopic& /*topic*/) {
  throw WithoutDds();
}

DdsInlet::~DdsInlet() = default;

std::shared_ptr<const std::string> DdsInlet::Take() {
  return nullptr;
}

}  // namespace orliq::cli
