// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/plain/PlainCorvik.h"
#include "bench/plain/PlainGlavor.h"
#include "bench/plain/PlainJuniq.h"
#include "bench/plain/PlainKelvane.h"
#include "decoder/corvik/DecoderCorvik.h"
#include "decoder/glavor/DecoderGlavor.h"
#include "decoder/juniq/DecoderJuniq.h"
#include "decoder/kelvane/DecoderKelvane.h"

// The sensor models that measure, each with its decoder, its plain loop and its check parameters.
namespace orliq::bench {

struct Juniq {
  static constexpr const char* kName = "juniq";
  static constexpr bool kTransforms = true;
  using Check = lidar::OffsetCheckParam;
  template <typename P>
  using Decoder = lidar::DecoderJuniq<PointCloud<P>>;
  template <typename P>
  using Plain = PlainJuniq<P>;
};

struct Glavor {
  static constexpr const char* kName = "glavor";
  static constexpr bool kTransforms = true;
  using Check = lidar::AngleCheckParam;
  template <typename P>
  using Decoder = lidar::DecoderGlavor<PointCloud<P>>;
  template <typename P>
  using Plain = PlainGlavor<P>;
};

struct Corvik {
  static constexpr const char* kName = "corvik";
  static constexpr bool kTransforms = true;
  using Check = lidar::CheckParam;
  template <typename P>
  using Decoder = lidar::DecoderCorvik<PointCloud<P>>;
  template <typename P>
  using Plain = PlainCorvik<P>;
};

struct Kelvane {
  static constexpr const char* kName = "kelvane";
  static constexpr bool kTransforms = false;
  using Check = lidar::CheckParam;
  template <typename P>
  using Decoder = lidar::DecoderKelvane<PointCloud<P>>;
  template <typename P>
  using Plain = PlainKelvane<P>;
};

}  // namespace orliq::bench
