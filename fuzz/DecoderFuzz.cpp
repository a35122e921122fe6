// SPDX-License-Identifier: Apache-2.0
// Datagrams to a decoder of FUZZ_MODEL. Of whatever they hold come finite points and samples.
#include "decoder/LoopForm.h"
#include "fuzz/DecoderSetup.h"

namespace orliq {
namespace {

template <typename P>
int Decode(fuzz::FuzzInput input, unsigned options) {
  const auto decoder = fuzz::MakeDecoder<P>(FUZZ_MODEL, input, options);
  const auto end_frame = [&](const std::uint16_t&, const double&) {
    if (decoder->CurrentCloud()) fuzz::RequireFinite(decoder->CurrentCloud()->points);
    decoder->InstallCloud(fuzz::MakeCloud<P>(options));
  };
  decoder->RegisterCallBack([](const lidar::Error&) {}, end_frame);
  decoder->RegisterIMUCallBack([&] { fuzz::RequireFinite(*decoder->CurrentImuMsg()); });
  fuzz::Datagrams datagrams(input, fuzz::BlankPacket(FUZZ_MODEL));
  while (datagrams.Next()) {
    std::uint16_t start = 0;
    if (datagrams.IsRemarked()) decoder->toSplite(datagrams.data(), datagrams.size(), start);
    decoder->ProcessMsopPacket(datagrams.data(), datagrams.size(), start);
    decoder->ShowsFrameBound(datagrams.data(), datagrams.size());
  }
  decoder->EnableFinallyFrame();
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
