// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/CheckParamsOptions.h"

#include <filesystem>
#include <memory>

#include "orliq/plots/Png.h"
#include "orliq/plots/TablePlot.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/FolderRules.h"
#include "orliq/sensors/TableFindings.h"
#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/PlainText.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

/// A folder and all that is said of it.
struct Check {
  const Model& model;
  lidar::ParamService service;
  CheckFolderReport folder;
  std::vector<CheckedTable> tables;
  std::vector<Finding> findings;
  std::vector<std::string> hints;

  bool Good() const { return folder.loaded && folder.remarks.empty() && findings.empty(); }
};

std::unique_ptr<Check> CheckFolder(const CheckParamsOptions& options) {
  const Model& model = KnownModel(options.model);
  auto check = std::unique_ptr<Check>(new Check{model, {}, {}, {}, {}, {}});
  check->folder = ExamineCheckFolder(model, options.folder, check->service);
  check->tables = TablesOf(check->service, model.type);
  if (check->tables.empty()) {
    throw Failure(ExitCode::kUsage, std::string(model.name) +
                                        " has no calibration tables, so it needs no check folder");
  }
  const auto& files = check->service.LastLoad();
  check->findings = FindSuspicious(check->tables, files);
  check->hints = FolderHints(model, check->tables, files);
  return check;
}

std::string Verdict(const Check& check) {
  if (!check.folder.loaded) return std::string("does not load for ") + check.model.name;
  const std::size_t doubts = check.folder.remarks.size() + check.findings.size();
  return std::string("loads for ") + check.model.name +
         (doubts == 0 ? ", nothing is suspicious" : ", but look at what is suspicious");
}

/// What became of a file that counts as a table.
const char* Outcome(const CheckedTable& table, const lidar::TableLoad& file) {
  if (!file.readable) return "unreadable";
  if (!file.accepted) return "too_short";
  return &file == table.InUse() ? "in_use" : "replaced";
}

void AddRows(const CheckedTable& table, std::vector<std::vector<std::string>>& rows) {
  const std::string needed = Grouped(table.needed);
  if (table.files.empty()) rows.push_back({table.word, "-", "0", needed, "-", "-", "missing"});
  for (const lidar::TableLoad& file : table.files) {
    const bool in_use = &file == table.InUse();
    const ValueRange range = in_use ? table.Range() : ValueRange();
    const std::string unit = table.unit.empty() ? "" : ' ' + table.unit;
    std::string outcome = Outcome(table, file);
    std::replace(outcome.begin(), outcome.end(), '_', ' ');
    rows.push_back({table.word, PlainText(FileName(file)), Grouped(file.found), needed,
                    range.empty ? "-" : Significant(range.min) + unit,
                    range.empty ? "-" : Significant(range.max) + unit, outcome});
  }
}

Json TableJson(const CheckedTable& table) {
  Json files = Json::Array();
  for (const lidar::TableLoad& file : table.files) {
    files.Add({{"path", file.path},
               {"numbers", file.found},
               {"fields_without_number", file.text},
               {"outcome", Outcome(table, file)}});
  }
  const ValueRange range = table.Range();
  Json json = {{"table", table.word},
               {"unit", table.unit},
               {"needed", table.needed},
               {"used", table.values.size()},
               {"min", range.empty ? Json() : Json(range.min)},
               {"max", range.empty ? Json() : Json(range.max)},
               {"files", std::move(files)}};
  if (!table.HasBeams()) json["values"] = table.values;
  return json;
}

/// Without a folder, tables are for JSON only.
void AddTables(Report& report, const Check& check) {
  Json json = Json::Array();
  Table table = {"Tables",
                 {"Table", "File", "Numbers", "Needed", "Min", "Max", "Outcome"},
                 {false, false, true, true, true, true, false},
                 {}};
  for (const CheckedTable& checked : check.tables) {
    json.Add(TableJson(checked));
    AddRows(checked, table.rows);
  }
  if (!check.folder.listed) return report.Add("tables", "", std::move(json), "");
  report.Add("tables", std::move(json), std::move(table));
}

void AddFindings(Report& report, const Check& check) {
  Json json = Json::Array();
  Table table = {"Suspicious numbers", {"Table", "Finding"}, {false, false}, {}};
  for (const Finding& finding : check.findings) {
    Json entry = {{"kind", finding.kind},
                  {"table", finding.table},
                  {"text", finding.text},
                  {"beams", finding.beams.size()}};
    entry["first_beam"] = finding.beams.empty() ? Json() : Json(finding.beams.front());
    json.Add(std::move(entry));
    table.rows.push_back({finding.table, finding.text});
  }
  if (!check.folder.listed) return report.Add("findings", "", std::move(json), "");
  report.Add("findings", std::move(json), std::move(table));
}

/// Sentences that the failure message tells are for JSON only.
void AddSentences(Report& report, const char* key, const char* title, const Check& check,
                  const std::vector<std::string>& sentences) {
  if (sentences.empty() || !check.folder.loaded) return report.Add(key, "", sentences, "");
  Table table = {title, {""}, {false}, {}};
  for (const std::string& sentence : sentences) table.rows.push_back({sentence});
  report.Add(key, sentences, std::move(table));
}

std::vector<std::string> OtherFiles(const Check& check) {
  std::vector<std::string> names;
  for (const lidar::TableLoad& file : check.service.LastLoad()) {
    if (file.table.empty()) names.push_back(FileName(file));
  }
  return names;
}

Report MakeReport(const CheckParamsOptions& options, const Check& check) {
  Report report;
  report.Add("folder", "Check folder", options.folder,
             options.folder.empty() ? "\"\"" : PlainText(options.folder));
  report.Add("model", "", check.model.name, "");
  report.Add("loaded", "Verdict", check.folder.loaded, Verdict(check));
  report.Add("complete", "", check.folder.complete, "");
  const auto others = OtherFiles(check);
  std::string text = others.empty() ? "" : PlainText(others.front());
  if (others.size() > 1) text += " and " + Grouped(others.size() - 1) + " more";
  report.Add("other_files", others.empty() ? "" : "Not tables", others, text);
  AddTables(report, check);
  AddFindings(report, check);
  AddSentences(report, "remarks", "Remarks on the folder", check, check.folder.remarks);
  AddSentences(report, "hints", "Hints", check, check.hints);
  const auto rules =
      check.folder.loaded ? std::vector<std::string>() : FolderRules(check.model, check.tables);
  report.Add("rules", "", rules, "");
  return report;
}

/// Refused before any table is read. A picture in the folder itself must not be taken for a table.
void RequirePlotFile(const CheckParamsOptions& options) {
  if (!CanWritePng()) {
    throw Failure(ExitCode::kUsage, "--plot: this orliq was built without libpng");
  }
  const fs::path plot = options.plot;
  std::error_code ignored;
  if (plot.extension() != ".svg") {
    throw Failure(ExitCode::kUsage, "--plot " + options.plot + ": name a file that ends in .svg");
  }
  if (!options.force && fs::exists(fs::symlink_status(plot, ignored))) {
    throw Failure(ExitCode::kFileFault, options.plot + " exists: --force replaces it");
  }
  const fs::path parent = plot.has_parent_path() ? plot.parent_path() : ".";
  if (fs::equivalent(parent, options.folder, ignored) && !TableWordIn(plot.filename()).empty()) {
    throw Failure(ExitCode::kFileFault,
                  "in the check folder " + plot.filename().string() +
                      " would count as a table: write the plot elsewhere, or name it otherwise");
  }
}

void WritePlot(const CheckParamsOptions& options, const Check& check) {
  const std::string title = PlainText(options.folder) + ": " + Verdict(check);
  const std::string picture = DrawTables(title, check.tables, check.findings);
  AtomicFile file(options.plot);
  file.Write(picture.data(), picture.size());
  file.Commit();
}

std::string WhyNotLoaded(const CheckParamsOptions& options, const Check& check) {
  std::string text = CheckFolderFault(check.model, options.folder, check.folder);
  for (const std::string& hint : check.hints) text += "\n  " + hint;
  if (!check.folder.listed) return text;
  text += "\nHow the driver reads a folder:";
  for (const std::string& rule : FolderRules(check.model, check.tables)) text += "\n  - " + rule;
  return text;
}

}  // namespace

ExitCode RunCheckParams(const CheckParamsOptions& options, Console& console) {
  console.SetQuiet(options.quiet);
  if (!options.plot.empty()) RequirePlotFile(options);
  const auto check = CheckFolder(options);
  console.Print(MakeReport(options, *check));
  if (!options.plot.empty() && check->folder.listed) WritePlot(options, *check);
  if (!check->folder.loaded) {
    throw Failure(ExitCode::kFileFault, WhyNotLoaded(options, *check));
  }
  if (!check->model.needs_tables) {
    console.Note(std::string("the driver loads the tables, but the points of ") +
                 check->model.name + " do not come from them");
  }
  return check->Good() ? ExitCode::kDone : ExitCode::kLosses;
}

}  // namespace orliq::cli
