// SPDX-License-Identifier: Apache-2.0
#include "input/InputFactory.h"

#include "common/Diagnostics.h"
#include "input/InputPcap.h"

namespace orliq::lidar {

std::shared_ptr<Input> InputFactory::CreateInput(const InputType& type, const InputParam& param) {
  if (type == InputType::Pcap) return std::make_shared<InputPcap>(param);
  diagnostics::WrongInputType();
  return nullptr;
}

}  // namespace orliq::lidar
