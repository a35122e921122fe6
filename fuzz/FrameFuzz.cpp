// SPDX-License-Identifier: Apache-2.0
// Ethernet frames of an interface or a capture, cut anywhere: no datagram reaches beyond its frame, flows
// stay within their limits, and every frame is in one count.
#include "fuzz/FlowLaws.h"
#include "orliq/capture/ClosedPort.h"
#include "orliq/capture/FrameCounter.h"

namespace orliq {
constexpr std::size_t kFlows = 5, kSizes = 3;  // few, so that an input reaches them
constexpr std::size_t kCutOff = 500;  // [bytes] of a frame that is longer than what is there of it

namespace {
void Look(fuzz::FuzzInput input, const cli::Model& model, const cli::Wanted& wanted) {
  cli::FlowList flows(kFlows, kSizes);
  cli::FrameCounter counter(model);
  fuzz::FlowCounts counts;
  fuzz::Datagrams frames(input, fuzz::BlankFrame(model));
  while (frames.Next()) {
    const std::size_t wire = frames.size() + (frames.IsRemarked() ? kCutOff : 0);
    const auto record = cli::ReadUdpRecord(frames.data(), frames.size(), wire, wanted);
    cli::ClosedEndpoint(frames.data(), frames.size());
    fuzz::RequireInside(record, frames);
    counts.Take(record);
    counter.Add(record);
    if (record.datagram) fuzz::Require(flows.Add(record).value_or(0) < kFlows);
  }
  counts.RequireIn(flows.Flows(), flows.InFurtherFlows(), kSizes);
  counts.RequireIn(counter.Frames(), model);
}
}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  orliq::fuzz::FuzzInput input(data, size);
  const std::size_t options = input.Number(1);
  const auto& model = orliq::lidar::SensorModels()[options % orliq::lidar::kSensorModels];
  orliq::Look(input, model, {static_cast<std::uint16_t>(options < 128 ? 0 : 2368)});
  return 0;
}
