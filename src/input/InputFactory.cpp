// SPDX-License-Identifier: Apache-2.0
#include "input/InputFactory.h"

#include "common/Diagnostics.h"
#include "input/InputPcap.h"
#include "input/InputSock.h"

namespace orliq::lidar {

std::shared_ptr<Input> InputFactory::CreateInput(const InputType& type, const InputParam& param) {
  if (type == InputType::Socket) return std::make_shared<InputSock>(param);
  if (type == InputType::Pcap) return std::make_shared<InputPcap>(param);
  diagnostics::WrongInputType();
  return nullptr;
}

}  // namespace orliq::lidar
