// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

/// The console table, followed by each rate as a ratio to the yardstick of its family: the case
/// "family/plain". Machines differ, ratios within one run hardly do.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const bool repeated = run.repetitions > 1;
      if (repeated ? run.aggregate_name != "median" : run.run_type != Run::RT_Iteration) continue;
      const auto rate = run.counters.find("items_per_second");
      if (rate != run.counters.end()) rates_.emplace_back(run.run_name.str(), rate->second);
    }
  }
  void Finalize() override {
    std::sort(rates_.begin(), rates_.end());  // interleaved repetitions end in any order
    GetOutputStream() << "\nratio to the plain form of the same family\n";
    for (const auto& [plain, plain_rate] : rates_) {
      const std::size_t end = plain.find("/plain");
      if (end == std::string::npos) continue;
      const std::string family = plain.substr(0, end + 1);
      for (const auto& [name, rate] : rates_) {
        if (name.compare(0, family.size(), family) != 0) continue;
        char line[160];
        std::snprintf(line, sizeof line, "%-52s %6.2f\n", name.c_str(), rate / plain_rate);
        GetOutputStream() << line;
      }
    }
  }

 private:
  std::vector<std::pair<std::string, double>> rates_;
};

}  // namespace

/// `--once`: every case for the shortest time, as a test that it still runs. Otherwise Google
/// Benchmark's own options.
int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  std::string shortest = "--benchmark_min_time=0.001";
  for (char*& argument : arguments) {
    if (std::strcmp(argument, "--once") == 0) argument = shortest.data();
  }
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
  // The library's own lines would tear the table.
  std::ostream table(std::cout.rdbuf());
  std::cout.rdbuf(nullptr);
  RatioReporter reporter;
  reporter.SetOutputStream(&table);
  const std::size_t run = benchmark::RunSpecifiedBenchmarks(&reporter);
  std::cout.rdbuf(table.rdbuf());
  return run > 0 ? 0 : 1;
}
