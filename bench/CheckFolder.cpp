// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/Stream.h"
#include "param/SearchFiles.h"

// Loading a Juniq check folder, against line reading with string streams and strtod.
namespace {

const std::string& Folder() {
  return orliq::bench::SharedStream("juniq").check_folder;
}

void Plain(benchmark::State& state) {
  Folder();
  for (auto _ : state) {
    std::vector<std::string> files;
    orliq::lidar::SearchFiles(Folder(), files);
    for (const std::string& path : files) {
      std::vector<float> values;
      std::ifstream file(path);
      for (std::string line; std::getline(file, line);) {
        std::stringstream fields(line);
        for (std::string field; std::getline(fields, field, ',');) {
          values.push_back(static_cast<float>(std::strtod(field.c_str(), nullptr)));
        }
      }
      benchmark::DoNotOptimize(values.data());
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void Library(benchmark::State& state) {
  Folder();
  orliq::lidar::ParamService service;
  for (auto _ : state) {
    const bool loaded = service.LoadCheckFolder(orliq::lidar::LidarType::Juniq, Folder());
    if (!loaded) state.SkipWithError("check folder did not load");
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Plain)->Name("check_folder/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(Library)->Name("check_folder/library")->Unit(benchmark::kMillisecond);

}  // namespace
