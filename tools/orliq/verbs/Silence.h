// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Remarks.h"

namespace orliq::cli {

/// What a verb knows that listened in vain.
struct Silence {
  std::string address;  ///< empty: every address
  std::uint16_t port = 0;
  double seconds = 0.0;            ///< how long it listened
  const Model* model = nullptr;    ///< whose packets were wanted; null: any datagram
  std::uint64_t datagrams = 0;     ///< that came all the same
  std::uint64_t wrong_length = 0;  ///< of them, not of the model's length
  std::size_t last_length = 0;     ///< [bytes] of the last one of another length
  std::string source = {};         ///< the only sender whose datagrams count; empty: every one
  std::uint64_t of_others = 0;     ///< datagrams of other senders than that
  std::string other = {};          ///< one of those
};

/// What it listened on and what to check, for the user, who wrote the settings as `remarks` knows.
std::string WhyNothingArrived(const Silence& silence, const Remarks& remarks);

/// What can be the reason when nothing arrives at all: a line for each, after "Check that".
std::string WhatToCheck(const Silence& silence, const Remarks& remarks);

/// The models whose packets have that many bytes: "corvik, brantis or hestra"; or nothing.
std::string ModelsOfLength(std::size_t bytes);

}  // namespace orliq::cli
