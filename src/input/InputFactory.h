// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "input/Input.h"
#include "multi_driver/DriverParam.h"

namespace orliq::lidar {

/// Makes the packet source of an input type.
class InputFactory {
 public:
  /// An empty pointer and a red line for a type without a source.
  static std::shared_ptr<Input> CreateInput(const InputType& type, const InputParam& param);
};

}  // namespace orliq::lidar
