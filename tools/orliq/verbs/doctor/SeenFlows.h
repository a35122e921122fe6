// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/verbs/doctor/Diagnosis.h"

namespace orliq::cli {

/// Why packets that reached an interface did not reach the sensor's port, of which nothing came.
void DiagnoseSeen(const Case& subject, HealthFindings& findings);

}  // namespace orliq::cli
