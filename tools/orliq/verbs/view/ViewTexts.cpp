// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewTexts.h"

#include <array>
#include <set>
#include <utility>

#include "decoder/ExtrinsicTransform.h"
#include "multi_driver/Version.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/sensors/ClockWords.h"

namespace orliq::cli {
namespace {

std::string UnitOf(const std::string& field) {
  if (field == "x" || field == "y" || field == "z" || field == "distance") return "m";
  return field == "timestamp" ? "s" : "";
}

Json FieldsOf(const std::string& point) {
  return WithCloudType(point, [](auto type) {
    Json fields = Json::Array();
    for (const PointField& field : kPointFields<typename decltype(type)::Cloud::PointType>) {
      fields.Add({{"name", field.name}, {"unit", UnitOf(field.name)}});
    }
    return fields;
  });
}

/// Where the transform puts a point of the sensor.
std::array<float, 3> Moved(const lidar::TransformParam& pose, std::array<float, 3> point) {
  lidar::ExtrinsicTransform(pose).Apply(point[0], point[1], point[2]);
  return point;
}

void AddPose(Json& json, const ViewedSensor& sensor) {
  lidar::TransformParam pose = sensor.param.decoder_param.transform_param;
  if (pose.enable == 0 || !sensor.model->transforms_points) pose = {};
  const Origin origin = OriginOf(sensor.param);
  pose.x = pose.y = pose.z = 0.0F;
  Json rotation = Json::Array();
  const std::array<std::array<float, 3>, 3> axes = {Moved(pose, {1.0F, 0.0F, 0.0F}),
                                                    Moved(pose, {0.0F, 1.0F, 0.0F}),
                                                    Moved(pose, {0.0F, 0.0F, 1.0F})};
  for (std::size_t row = 0; row < axes.size(); ++row) {
    for (const auto& axis : axes) rotation.Add(axis[row]);
  }
  json["origin"] = {origin.x, origin.y, origin.z};
  json["rotation"] = std::move(rotation);
}

Json Describe(const ViewedSensor& sensor) {
  Json json = {{"name", sensor.name}, {"model", sensor.model->name}};
  const auto [rows, columns] = GridOf(*sensor.model);
  if (rows > 0) {
    json["rows"] = rows;
    json["columns"] = columns;
  }
  AddPose(json, sensor);
  return json;
}

/// Whether packets of that row are lost to the cloud.
bool IsLoss(const std::string& key) {
  static const std::set<std::string> losses = {"dropped_by_kernel", "dropped_by_limit",
                                               "refused_length", "refused_identifier", "skipped"};
  return losses.count(key) > 0;
}

Json RowsOf(const Ledger& ledger) {
  Json rows = Json::Array();
  for (const LedgerRow& row : LedgerRows(ledger)) {
    const char* const tone = IsLoss(row.key) ? "bad" : "plain";
    rows.Add({{"label", row.words}, {"text", row.sign + row.count}, {"tone", tone}});
  }
  if (ledger.of_capture) return rows;
  const ClockVerdict clock = JudgeClock(*ledger.model, ledger.counts.clock);
  rows.Add({{"label", "clock"}, {"text", clock.text}, {"tone", clock.IsFault() ? "bad" : "plain"}});
  return rows;
}

}  // namespace

std::string HelloText(const ViewedSource& source) {
  const bool live = source.entries == 0;
  Json json = {{"type", "hello"},
               {"program", std::string("orliq ") + ORLIQ_VERSION},
               {"source", live ? "live" : "capture"},
               {"title", source.title},
               {"point", source.point},
               {"fields", FieldsOf(source.point)}};
  Json& sensors = json["sensors"] = Json::Array();
  for (const ViewedSensor& sensor : source.sensors) sensors.Add(Describe(sensor));
  if (!live) json["entries"] = source.entries;
  return json.Text();
}

std::string PlayerText(const PlayerState& state) {
  return Json({{"type", "player"},
               {"playing", state.playing},
               {"entry", state.entry},
               {"entries", state.entries},
               {"speed", state.speed},
               {"loop", state.loop}})
      .Text();
}

std::string LedgerText(const std::vector<NamedLedger>& ledgers,
                       const std::vector<ViewNotice>& notices) {
  Json json = {{"type", "ledger"}};
  Json& groups = json["groups"] = Json::Array();
  for (const NamedLedger& of_sensor : ledgers) {
    groups.Add({{"title", of_sensor.name}, {"rows", RowsOf(of_sensor.ledger)}});
  }
  Json& list = json["notices"] = Json::Array();
  for (const ViewNotice& notice : notices) {
    list.Add({{"tone", notice.bad ? "bad" : "plain"}, {"text", notice.text}});
  }
  return json.Text();
}

std::string ImuText(const std::vector<lidar::ImuMsg>& samples) {
  Json json = {{"type", "imu"}, {"sensor", 0}};
  Json& list = json["samples"] = Json::Array();
  for (const lidar::ImuMsg& sample : samples) {
    list.Add({sample.timestamp, sample.angular_velocity_x, sample.angular_velocity_y,
              sample.angular_velocity_z, sample.linear_acceleration_x, sample.linear_acceleration_y,
              sample.linear_acceleration_z});
  }
  return json.Text();
}

std::string EndText(const std::string& why) {
  return Json({{"type", "end"}, {"text", why}}).Text();
}

}  // namespace orliq::cli
