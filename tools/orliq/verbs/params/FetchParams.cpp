// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/FetchParamsOptions.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "orliq/network/ListenOptions.h"
#include "orliq/sensors/SentTables.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/ProgressBar.h"
#include "orliq/verbs/params/FetchedFolder.h"
#include "orliq/verbs/params/UploadRemarks.h"
#include "param/Calibration.h"
#include "param/ParamLoader.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kPass{20};  // between looks at the counts
constexpr double kUsualGap = 1.0;               // [s] that a lost reply leaves, and more

// The largest calibration that there is, of a Juniq [bytes]: for the bar until the sensor tells.
constexpr std::uint64_t kUsualBytes = 589'896;

const Model& ModelWithTables(const std::string& name) {
  const Model& model = KnownModel(name);
  if (lidar::ParamService::TakesUpload(model.type)) return model;
  throw Failure(ExitCode::kUsage,
                std::string(model.name) +
                    " takes no tables from its sensor, so there is nothing to fetch" +
                    (model.needs_tables ? "" : ": it needs no calibration"));
}

/// What has come from the sensor, and what became of it.
struct Fetched {
  lidar::UploadStatistics upload;
  double seconds = 0.0;
  double moved = 0.0;  ///< [s] when the last reply came that brought any of it
  bool holes = false;  ///< a piece is missing for ever
  std::string ended;   ///< why it went on no longer, when not all has come; empty: interrupted
  bool interrupted = false;
  std::vector<lidar::RefusedTable> missing;
  std::vector<sim::CheckTable> tables;
  std::string folder;  ///< empty: not written
  std::vector<TableDifference> differences;

  bool Complete() const { return !holes && upload.state >= lidar::UploadState::Received; }
};

/// Asks until all has come, or it is time to end.
class Fetch {
 public:
  Fetch(const FetchParamsOptions& options, const UploadRequest& request, const Model& model)
      : options_(options),
        request_(request),
        channel_(std::make_shared<lidar::UDPSelect>(MakeCalibrationParam(request))),
        service_(std::make_shared<lidar::ParamService>()),
        loader_(model.type, service_, channel_, !request.lenient) {}

  Fetched Run() {
    Fetched fetched;
    if (!channel_->Init() || !loader_.StartLoad("orliq-load", service_)) {
      throw Failure(ExitCode::kFileFault, "no socket can be had to ask from");
    }
    ProgressBar bar("fetching", kShares, options_.quiet);
    do {
      Look(fetched);
      bar.Update(Share(fetched.upload));
      if (!fetched.Complete()) fetched.ended = WhyOver(fetched);
    } while (!fetched.Complete() && fetched.ended.empty() && !WaitForInterrupt(kPass));
    fetched.interrupted = InterruptRequested();
    loader_.StopLoad();
    Look(fetched);
    return fetched;
  }

  lidar::ParamService& Service() { return *service_; }

 private:
  static constexpr std::uint64_t kShares = 1000;

  void Look(Fetched& fetched) const {
    const std::uint64_t before = fetched.upload.received_bytes;
    loader_.Count(fetched.upload);
    fetched.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    if (fetched.upload.received_bytes != before) fetched.moved = fetched.seconds;
    fetched.holes = HasHoles(request_, fetched.upload);
  }

  static std::uint64_t Share(const lidar::UploadStatistics& upload) {
    const std::uint64_t total = upload.total_bytes > 0 ? upload.total_bytes : kUsualBytes;
    return kShares * std::min(upload.received_bytes, total) / total;
  }

  /// Empty: it goes on.
  std::string WhyOver(const Fetched& fetched) const {
    if (fetched.holes) return "with --lenient, what is missing stays missing";
    const double gap = fetched.seconds - fetched.moved;
    const bool stalled = options_.wait > 0.0 && gap >= options_.wait;
    if (!stalled && fetched.seconds < options_.time_limit) return {};
    if (!stalled && gap < kUsualGap) return "a longer --time-limit gives it more";
    return "the last reply that brought any of it came " + Fixed(gap, 1) + " s ago, is " +
           options_.from + " still on and connected?";
  }

  using Clock = std::chrono::steady_clock;

  const FetchParamsOptions& options_;
  const UploadRequest& request_;
  std::shared_ptr<lidar::UDPSelect> channel_;
  std::shared_ptr<lidar::ParamService> service_;
  lidar::ParamLoader loader_;
  Clock::time_point start_ = Clock::now();
};

/// Writes what was sent if no table is missing, and looks what the folder gives.
void Keep(const Model& model, const FetchParamsOptions& options, const FetchedFolder& folder,
          lidar::ParamService& service, Fetched& fetched) {
  fetched.missing = lidar::UploadedCalibration(&service, true).refused;
  if (!fetched.missing.empty()) return;
  fetched.tables = SentTables(model, service);
  folder.Write(FilesOf(model, fetched.tables));
  fetched.folder = options.out;
  fetched.differences = CompareFolder(model, options.out, service);
}

void AddTables(Report& report, const std::vector<sim::CheckTable>& tables) {
  Json list = Json::Array();
  Table shown = {"Tables", {"Table", "Numbers", "Min", "Max"}, {false, true, true, true}, {}};
  for (const auto& [word, values, per_line, labelled] : tables) {
    std::vector<float> finite;
    std::copy_if(values.begin(), values.end(), std::back_inserter(finite),
                 [](float value) { return std::isfinite(value); });
    const auto range = std::minmax_element(finite.begin(), finite.end());
    const bool any = !finite.empty();
    list.Add({{"table", word},
              {"numbers", values.size()},
              {"min", any ? Json(*range.first) : Json()},
              {"max", any ? Json(*range.second) : Json()},
              {"not_finite", values.size() - finite.size()}});
    shown.rows.push_back({word, Grouped(values.size()), any ? Fixed(*range.first, 4) : "none",
                          any ? Fixed(*range.second, 4) : "none"});
  }
  if (tables.empty()) {
    report.Add("tables", "", std::move(list), "");
  } else {
    report.Add("tables", std::move(list), std::move(shown));
  }
}

Report MakeReport(const Model& model, const Fetched& fetched) {
  Report report;
  report.Add("model", "", model.name, "");
  AddUploadRows(report, fetched.upload);
  report.Add("seconds", "", fetched.seconds, "");
  report.Add("interrupted", "", !fetched.Complete() && fetched.interrupted, "");
  const bool written = !fetched.folder.empty();
  report.Add("check_folder", written ? "Check folder" : "", written ? Json(fetched.folder) : Json(),
             fetched.folder);
  Json differences = Json::Array();
  for (const TableDifference& found : fetched.differences) {
    differences.Add({{"table", found.table}, {"numbers", found.numbers}, {"first", found.first}});
  }
  report.Add("differences", "", std::move(differences), "");
  AddTables(report, fetched.tables);
  return report;
}

void RequireAll(const UploadRequest& request, const Model& model, const Fetched& fetched) {
  if (!fetched.Complete()) {
    const std::string nothing = "; no file was written";
    if (fetched.interrupted && fetched.ended.empty() &&
        fetched.upload.state == lidar::UploadState::Asking) {
      throw Failure(ExitCode::kLosses, "interrupted before the sensor had answered" + nothing);
    }
    throw UploadFailure(request, fetched.upload, fetched.seconds,
                        (fetched.ended.empty() ? "interrupted" : fetched.ended) + nothing);
  }
  if (!fetched.missing.empty()) throw MissingTables(model, fetched.missing, "no file was written");
}

/// Such as the tables of a Juniq, taken for those of a Glavor.
std::string SurplusText(const Model& model, const lidar::ParamService& service) {
  std::size_t needed = 0;  // [bytes] with the markers, each as long as a number
  for (const auto& table : service.UploadedTables()) needed += (table.needed + 1) * sizeof(float);
  const auto sent = static_cast<std::size_t>(service.TotalSize());
  if (sent <= needed) return {};
  return "the sensor sent " + Count(sent, "byte") + ", the tables of a " + model.name + " take " +
         Grouped(needed) + ": is it a " + model.name + " (--model)?";
}

/// Such are numbers that no text holds: those by which a float signals that it is none.
void RequireSame(const Fetched& fetched) {
  if (fetched.differences.empty()) return;
  std::string text = "the folder does not give back every number as it was sent:";
  for (const TableDifference& found : fetched.differences) {
    text += "\n  " + Count(found.numbers, "number") + " of the " + found.table +
            " table, the first at place " + Grouped(found.first) +
            ": a float that is no number in a way that text cannot hold";
  }
  throw Failure(ExitCode::kLosses, text);
}

}  // namespace

ExitCode RunFetchParams(const FetchParamsOptions& options, Console& console) {
  console.SetQuiet(options.quiet);
  const Model& model = ModelWithTables(options.model);
  const UploadRequest request = {ParseHostPort("HOST:PORT", options.from), options.local_port,
                                 options.lenient};
  CatchInterrupts();
  const FetchedFolder folder(options.out, options.force);
  if (options.local_port != 0) RequirePort({}, options.local_port, console);
  Fetch fetch(options, request, model);
  Fetched fetched = fetch.Run();
  if (fetched.Complete()) {
    Keep(model, options, folder, fetch.Service(), fetched);
    if (fetched.missing.empty()) console.Note(SurplusText(model, fetch.Service()));
  }
  console.Print(MakeReport(model, fetched));
  RequireAll(request, model, fetched);
  RequireSame(fetched);
  return ExitCode::kDone;
}

}  // namespace orliq::cli
