// SPDX-License-Identifier: Apache-2.0
#include "param/Calibration.h"

#include <filesystem>
#include <system_error>

namespace orliq::lidar {
namespace {

std::string FolderFault(const std::string& folder) {
  std::error_code error;
  const auto status = std::filesystem::status(folder, error);
  if (status.type() == std::filesystem::file_type::not_found) return "there is no folder " + folder;
  if (!std::filesystem::status_known(status)) {
    return folder + " cannot be reached: " + error.message();
  }
  if (!std::filesystem::is_directory(status)) return folder + " is not a folder";
  const std::filesystem::directory_iterator listing(folder, error);
  return error ? folder + " cannot be listed: " + error.message() : std::string();
}

std::string NumbersText(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " number" : " numbers");
}

std::string Text(const TableLoad& load, TableFault fault) {
  switch (fault) {
    case TableFault::Missing:
      return "no file is taken for the " + load.table + " table";
    case TableFault::Unreadable:
      return load.path + " cannot be read";
    case TableFault::Short:
      return load.path + " holds " + NumbersText(load.found) + ", the " + load.table +
             " table needs " + std::to_string(load.needed);
    case TableFault::Replaced:
      break;
  }
  return load.path + " is replaced by a later file for the " + load.table + " table";
}

RefusedTable Refused(const TableLoad& load, TableFault fault) {
  return {load.table, load.path, load.found, load.needed, fault, Text(load, fault)};
}

RefusedTable Refused(const TableUpload& upload) {
  const std::string of = "the sensor's calibration ";
  const std::string text =
      upload.marked ? of + "holds " + std::to_string(upload.found) + " numbers behind the marker " +
                          upload.marker + ", the " + upload.table + " table needs " +
                          std::to_string(upload.needed)
                    : of + "has no " + upload.table + " table (marker " + upload.marker + ")";
  const TableFault fault = upload.marked ? TableFault::Short : TableFault::Missing;
  return {upload.table, {}, upload.found, upload.needed, fault, text};
}

/// A file is taken for the first table whose word its whole path holds.
std::string WhyMissing(const TableLoad& wanted, const std::vector<TableLoad>& files) {
  for (const TableLoad& file : files) {
    if (file.path.find(wanted.table) == std::string::npos) continue;
    return ": " + file.path + " counts as the " + file.table + " table, for its path";
  }
  return ": none has that word in its path";
}

/// Adds what is wrong with one table; nothing when one file gives it.
void Describe(const TableLoad& wanted, const std::vector<TableLoad>& files,
              std::vector<RefusedTable>& refused) {
  const TableLoad* taken = nullptr;
  bool seen = false;
  for (const TableLoad& file : files) {
    if (file.table != wanted.table) continue;
    seen = true;
    if (!file.accepted) {
      refused.push_back(Refused(file, file.readable ? TableFault::Short : TableFault::Unreadable));
      continue;
    }
    if (taken != nullptr) {
      refused.push_back(Refused(*taken, TableFault::Replaced));
      refused.back().text += ": " + file.path;
    }
    taken = &file;
  }
  if (seen) return;
  refused.push_back(Refused(wanted, TableFault::Missing));
  refused.back().text += WhyMissing(wanted, files);
}

}  // namespace

CalibrationStatus LoadCalibration(const DriverParam& param, ParamService& service) {
  const std::string& folder = param.calibration_param.check_folder;
  CalibrationStatus status;
  status.loaded = service.LoadCheckFolder(param.lidar_type, folder);
  if (service.LastTables().empty() || folder.empty()) return status;
  status.source = CalibrationSource::Folder;
  status.folder = folder;
  status.folder_fault = FolderFault(folder);
  for (const TableLoad& table : service.LastTables()) {
    Describe(table, service.LastLoad(), status.refused);
  }
  return status;
}

CalibrationStatus UploadedCalibration(const ParamService* service, bool in_use) {
  CalibrationStatus status;
  status.source = CalibrationSource::Sensor;
  if (service == nullptr) return status;
  bool any = false;
  for (const TableUpload& table : service->UploadedTables()) {
    any |= table.Accepted();
    if (!table.Accepted()) status.refused.push_back(Refused(table));
  }
  status.loaded = in_use && any;
  return status;
}

}  // namespace orliq::lidar
