// SPDX-License-Identifier: Apache-2.0
// A capture file as `orliq info` reads it: what it calls readable the driver gets, byte for byte, and
// every record is in one count.
#include "fuzz/MemoryFile.h"
#include "fuzz/SurveyLaws.h"

namespace orliq {
namespace {

void Survey(lidar::InputPcap& driver, const std::string& path, const cli::SurveyScope& scope) {
  const cli::CaptureSurvey survey = cli::SurveyCapture(path, scope, {});
  cli::CaptureFile file(path);
  lidar::RecordCounters counters;
  driver.CountInto(counters);
  fuzz::FlowCounts counts;
  while (file.Next()) {
    const cli::UdpRecord record = file.Read({scope.port});
    fuzz::RequireNext(record, driver);
    counts.Take(record);
  }
  fuzz::RequireEnd(survey, driver, counters);
  counts.RequireIn(survey.skipped);
  counts.RequireIn(survey.frames, *scope.model);
  counts.RequireIn(survey.flows, survey.in_further_flows, survey.records);
}

}  // namespace
}  // namespace orliq

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const orliq::fuzz::MemoryFile file(data, size);
  const auto& model = orliq::lidar::SensorModels()[size % orliq::lidar::kSensorModels];
  for (const std::uint16_t port : {std::uint16_t{0}, std::uint16_t{2368}}) {
    const auto driver = orliq::fuzz::Reader(file.Path(), port);
    const bool opens = driver->Init();
    orliq::fuzz::OpensAs(opens, [&] { orliq::Survey(*driver, file.Path(), {port, 0, &model}); });
  }
  return 0;
}
