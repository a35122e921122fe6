// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dds/dds.h>

#include <memory>
#include <string>

#include "orliq/dds/DdsOutlet.h"

namespace orliq::cli {

using DdsQos = std::unique_ptr<dds_qos_t, decltype(&dds_delete_qos)>;

/// `result` unless it is negative; else throws Failure, which names what could not be had.
dds_entity_t RequireDds(const char* what, dds_return_t result);

/// This process in a domain, as long as it lives.
class DdsDomain {
 public:
  explicit DdsDomain(const DdsSettings& settings);
  ~DdsDomain();
  DdsDomain(const DdsDomain&) = delete;
  DdsDomain& operator=(const DdsDomain&) = delete;

  dds_entity_t Participant() const { return participant_; }

 private:
  void Leave();

  dds_entity_t domain_ = 0;  // 0: it belongs to another of this process
  dds_entity_t participant_ = 0;
};

}  // namespace orliq::cli
