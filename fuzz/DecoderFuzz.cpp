// SPDX-License-Identifier: Apache-2.0
// Datagrams to a decoder of FUZZ_MODEL. Of whatever they hold come finite points and samples, none
// beyond the limits, and counts that add up.
#include "decoder/LoopForm.h"
#include "fuzz/WatchedDecoder.h"

namespace orliq {
namespace {

template <typename P>
int Decode(fuzz::FuzzInput input, unsigned options) {
  const lidar::SensorModel& model = *lidar::FindSensorModel(FUZZ_MODEL);
  fuzz::WatchedDecoder<P> decoder(model, input, options);
  fuzz::Datagrams packets(input, fuzz::BlankPacket(model));
  while (packets.Next()) decoder.Take(packets);
  decoder.Finish();
  return 0;
}

}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr decltype(&orliq::Decode<Point>) kRecords[] = {
      &orliq::Decode<Point>, &orliq::Decode<PointTime>, &orliq::Decode<PointSource>,
      &orliq::Decode<JuniqPoint>};
  orliq::fuzz::FuzzInput input(data, size);
  const auto options = static_cast<unsigned>(input.Number(1));
  orliq::lidar::LoopForm::ForcePortable((options & orliq::fuzz::kPortable) != 0);
  return kRecords[options % 4](input, options);
}
