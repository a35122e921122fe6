// SPDX-License-Identifier: Apache-2.0
#include "orliq/ros/RosMessages.h"

#include <fastcdr/Cdr.h>
#include <gmock/gmock.h>
#include <malloc.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "decoder/ExtrinsicTransform.h"

namespace orliq::cli {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

/// Reads what a message holds, in the order of its definition.
class Reader {
 public:
  explicit Reader(std::string message)
      : bytes_(std::move(message)),
        buffer_(bytes_.data(), bytes_.size()),
        cdr_(buffer_, eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS, eprosima::fastcdr::Cdr::DDS_CDR) {
    EXPECT_EQ(bytes_.substr(0, 4), std::string({0, 1, 0, 0}));
    cdr_.read_encapsulation();
  }
  // All of it has been looked at.
  ~Reader() { EXPECT_EQ(cdr_.getSerializedDataLength(), bytes_.size()); }

  template <typename Value>
  Value Get() {
    Value value{};
    cdr_.deserialize(value);
    return value;
  }
  std::string Text() { return Get<std::string>(); }
  std::uint32_t Count() { return Get<std::uint32_t>(); }
  std::vector<double> Doubles(std::size_t count) {
    std::vector<double> values(count);
    for (double& value : values) value = Get<double>();
    return values;
  }
  std::string Bytes() {
    std::string bytes(Count(), ' ');
    for (char& byte : bytes) byte = Get<char>();
    return bytes;
  }
  void ExpectHeader(const RosHeader& header) {
    EXPECT_EQ(Get<std::int32_t>(), header.stamp.seconds);
    EXPECT_EQ(Count(), header.stamp.nanoseconds);
    EXPECT_EQ(Text(), header.frame);
  }

 private:
  std::string bytes_;
  eprosima::fastcdr::FastBuffer buffer_;
  eprosima::fastcdr::Cdr cdr_;
};

struct Field {
  std::string name;
  std::uint32_t offset;
  std::uint8_t type;
  std::uint32_t count;
};

struct Cloud {
  std::uint32_t height, width, step;
  std::vector<Field> fields;
  std::string data;
  bool dense;

  template <typename Value>
  Value At(std::size_t point, std::size_t offset) const {
    Value value;
    std::memcpy(&value, data.data() + point * step + offset, sizeof value);
    return value;
  }
  std::vector<float> Place(std::size_t point) const {
    return {At<float>(point, 0), At<float>(point, 4), At<float>(point, 8)};
  }
  bool IsNowhere(std::size_t point) const {
    const std::vector<float> place = Place(point);
    return std::isnan(place[0]) && std::isnan(place[1]) && std::isnan(place[2]);
  }
};

const RosHeader kHeader = {{1700000000, 250000000}, "front"};

Cloud Read(const RosCloud& message) {
  Reader reader(PointCloud2Cdr(message));
  reader.ExpectHeader(kHeader);
  Cloud cloud;
  cloud.height = reader.Count();
  cloud.width = reader.Count();
  for (auto fields = reader.Count(); fields > 0; --fields) {
    Field field;
    field.name = reader.Text();
    field.offset = reader.Count();
    field.type = reader.Get<std::uint8_t>();
    field.count = reader.Count();
    cloud.fields.push_back(field);
  }
  EXPECT_FALSE(reader.Get<bool>());  // big-endian
  cloud.step = reader.Count();
  EXPECT_EQ(reader.Count(), cloud.step * cloud.width);
  cloud.data = reader.Bytes();
  EXPECT_EQ(cloud.data.size(), cloud.step * cloud.width * cloud.height);
  cloud.dense = reader.Get<bool>();
  return cloud;
}

template <typename T>
T PointAt(float x, float y, float z) {
  T point{};
  point.x = x;
  point.y = y;
  point.z = z;
  return point;
}

TEST(RosMessages, APointHasTheFieldsThatRosUsersExpect) {
  PointCloud<PointTime> cloud;
  cloud.timestamp = 1700000000.25;
  cloud.points = {PointAt<PointTime>(1.5F, -2.0F, 0.0F), PointAt<PointTime>(0.0F, 0.0F, 0.5F)};
  cloud.points[0].intensity = 65535;
  cloud.points[0].ring = 191;
  cloud.points[0].timestamp = 1700000000.3125;
  const Cloud read = Read({kHeader, View(cloud), {}});
  EXPECT_THAT(read.fields, ElementsAre(FieldsAre("x", 0, 7, 1), FieldsAre("y", 4, 7, 1),
                                       FieldsAre("z", 8, 7, 1), FieldsAre("intensity", 12, 7, 1),
                                       FieldsAre("ring", 16, 4, 1), FieldsAre("time", 20, 7, 1)));
  EXPECT_EQ(read.height, 1);
  EXPECT_EQ(read.width, 2);
  EXPECT_EQ(read.step, 24);
  EXPECT_TRUE(read.dense);
  EXPECT_THAT(read.Place(0), ElementsAre(1.5F, -2.0F, 0.0F));
  EXPECT_EQ(read.At<float>(0, 12), 65535.0F);
  EXPECT_EQ(read.At<std::uint16_t>(0, 16), 191);
  EXPECT_EQ(read.At<float>(0, 20), 0.0625F);
  EXPECT_EQ(read.At<float>(1, 20), 0.0F);  // of a model without time

  cloud.timestamp = 0.0;  // the end of a capture has closed it
  cloud.points[1].timestamp = 1700000000.4375;
  EXPECT_EQ(TimeOf(View(cloud)), 1700000000.3125);
  EXPECT_EQ(Read({kHeader, View(cloud), {}}).At<float>(1, 20), 0.125F);

  PointCloud<PointSource> more;
  more.points = {PointAt<PointSource>(1.0F, 0.0F, 0.0F)};
  more.points[0].distance = -7;
  more.points[0].source[8] = 5;
  const Cloud rest = Read({kHeader, View(more), {}});
  EXPECT_THAT(rest.fields[6], FieldsAre("distance", 24, 5, 1));
  EXPECT_THAT(rest.fields[7], FieldsAre("source", 28, 2, 9));
  EXPECT_EQ(rest.step, 40);
  EXPECT_EQ(rest.At<std::int32_t>(0, 24), -7);
  EXPECT_EQ(rest.At<std::uint8_t>(0, 36), 5);
}

TEST(RosMessages, WhatMeasuredNothingIsNowhere) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  PointCloud<Point> cloud;
  cloud.points = {PointAt<Point>(0.0F, 0.0F, 0.0F), PointAt<Point>(1.0F, 2.0F, 3.0F),
                  PointAt<Point>(1.0F, 2.0F, 4.0F), PointAt<Point>(0.0F, kNan, 0.0F),
                  PointAt<Point>(-1.0F, 0.0F, 0.0F)};
  cloud.points[0].ring = 3;
  const Cloud read = Read({kHeader, View(cloud), {{-1.0F, 0.0F, 0.0F}, {1.0F, 2.0F, 3.0F}}});
  EXPECT_EQ(read.step, 20);
  EXPECT_FALSE(read.dense);
  EXPECT_TRUE(read.IsNowhere(0));
  EXPECT_EQ(read.At<std::uint16_t>(0, 16), 3);
  EXPECT_TRUE(read.IsNowhere(1));  // where a sensor stands
  EXPECT_THAT(read.Place(2), ElementsAre(1.0F, 2.0F, 4.0F));
  EXPECT_TRUE(read.IsNowhere(3));
  EXPECT_TRUE(read.IsNowhere(4));  // where another one does
}

TEST(RosMessages, PointsWithRowAndColumnAreAGrid) {
  PointCloud<JuniqPoint> cloud;
  cloud.points = {PointAt<JuniqPoint>(1.0F, 0.0F, 0.0F), PointAt<JuniqPoint>(2.0F, 0.0F, 0.0F)};
  cloud.points[0].row = 1;
  cloud.points[0].column = 2;
  const RosCloud message = {kHeader, View(cloud), {}, 2, 3};
  const Cloud grid = Read(message);
  EXPECT_EQ(grid.height, 2);
  EXPECT_EQ(grid.width, 3);
  EXPECT_FALSE(grid.dense);
  EXPECT_EQ(grid.Place(0)[0], 2.0F);
  EXPECT_TRUE(grid.IsNowhere(1));
  EXPECT_TRUE(grid.IsNowhere(4));
  EXPECT_EQ(grid.Place(5)[0], 1.0F);

  // A point without a cell of its own is not thrown away for it.
  const auto expect_list = [&] {
    const Cloud list = Read(message);
    EXPECT_EQ(list.height, 1);
    EXPECT_EQ(list.width, 2);
    EXPECT_EQ(list.Place(0)[0], 1.0F);
  };
  cloud.points[0].row = 2;
  expect_list();
  cloud.points[0].row = 0;
  cloud.points[0].column = 3;
  expect_list();
  cloud.points[0].column = 0;
  expect_list();
}

TEST(RosMessages, SamplesTransformsAndStates) {
  lidar::ImuMsg sample;
  sample.angular_velocity_x = 0.5F;
  sample.angular_velocity_z = -0.25F;
  sample.linear_acceleration_y = 2.0F;
  sample.linear_acceleration_z = 9.75F;
  Reader imu(ImuCdr(kHeader, sample));
  imu.ExpectHeader(kHeader);
  EXPECT_THAT(imu.Doubles(4), ElementsAre(0, 0, 0, 1));
  EXPECT_THAT(imu.Doubles(9), ElementsAre(-1, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(imu.Doubles(3), ElementsAre(0.5, 0.0, -0.25));
  EXPECT_THAT(imu.Doubles(9), testing::Each(0.0));
  EXPECT_THAT(imu.Doubles(3), ElementsAre(0.0, 2.0, 9.75));
  EXPECT_THAT(imu.Doubles(9), testing::Each(0.0));

  lidar::TransformParam pose;
  pose.x = 1.0F;
  pose.y = -2.0F;
  pose.z = 3.0F;
  pose.yaw = 90.0F;
  Reader transforms(TransformsCdr({{{{7, 8}, "base_link"}, "front", pose}}));
  EXPECT_EQ(transforms.Count(), 1);
  transforms.ExpectHeader({{7, 8}, "base_link"});
  EXPECT_EQ(transforms.Text(), "front");
  EXPECT_THAT(transforms.Doubles(3), ElementsAre(1.0, -2.0, 3.0));
  const double half = std::sqrt(0.5);
  EXPECT_THAT(transforms.Doubles(4),
              testing::Pointwise(testing::DoubleNear(1e-12), {0.0, 0.0, half, half}));

  Reader states(DiagnosticsCdr(kHeader, {{RosLevel::kWarn, "a", "b", "c", {{"lost", "3"}}}}));
  states.ExpectHeader(kHeader);
  EXPECT_EQ(states.Count(), 1);
  EXPECT_EQ(states.Get<std::uint8_t>(), 1);
  for (const char* text : {"a", "b", "c"}) EXPECT_EQ(states.Text(), text);
  EXPECT_EQ(states.Count(), 1);
  for (const char* text : {"lost", "3"}) EXPECT_EQ(states.Text(), text);
}

TEST(RosMessages, ARotationTurnsAsTheExtrinsicsDo) {
  lidar::TransformParam pose;
  pose.enable = 1;
  pose.roll = 12.0F;
  pose.pitch = -33.0F;
  pose.yaw = 141.0F;
  const auto [x, y, z, w] = QuaternionOf(pose);
  float turned[3] = {1.0F, 2.0F, 3.0F};
  lidar::ExtrinsicTransform(pose).Apply(turned[0], turned[1], turned[2]);
  // v + 2 q x (q x v + w v), with q the vector of the quaternion
  const double v[3] = {1.0, 2.0, 3.0};
  const double c[3] = {y * v[2] - z * v[1] + w * v[0], z * v[0] - x * v[2] + w * v[1],
                       x * v[1] - y * v[0] + w * v[2]};
  EXPECT_NEAR(turned[0], v[0] + 2.0 * (y * c[2] - z * c[1]), 1e-6);
  EXPECT_NEAR(turned[1], v[1] + 2.0 * (z * c[0] - x * c[2]), 1e-6);
  EXPECT_NEAR(turned[2], v[2] + 2.0 * (x * c[1] - y * c[0]), 1e-6);
}

TEST(RosMessages, TimesAreThoseOfTheSensorToTheMicrosecond) {
  const auto expect = [](double seconds, std::int32_t whole, std::uint32_t nanoseconds) {
    const RosTime time = ToRosTime(seconds);
    EXPECT_EQ(time.seconds, whole) << seconds;
    EXPECT_EQ(time.nanoseconds, nanoseconds) << seconds;
  };
  expect(0.0, 0, 0);
  expect(1700000000.000001, 1700000000, 1000);
  expect(1700000000.999999, 1700000000, 999999000);
  expect(1.9999999, 2, 0);
  expect(-0.25, -1, 750000000);
  expect(1e12, std::numeric_limits<std::int32_t>::max(), 0);
  expect(-1e12, std::numeric_limits<std::int32_t>::min(), 0);
  expect(std::numeric_limits<double>::quiet_NaN(), 0, 0);
  EXPECT_EQ((RosTime{2, 3}.Nanoseconds()), 2000000003);
  EXPECT_EQ((RosTime{-2, 3}.Nanoseconds()), 0);
}

TEST(RosMessages, AreTheSameBytesWhateverTheMemoryHeld) {
  const auto messages = [](int filler) {
    ::mallopt(M_PERTURB, filler);
    const RosHeader header = {{1, 2}, "a"};
    const PointCloud<PointSource> cloud;
    std::string all = PointCloud2Cdr({header, View(cloud), {}}) + ImuCdr(header, {}) +
                      TransformsCdr({{header, "bc", {}}}) +
                      DiagnosticsCdr(header, {{RosLevel::kOk, "d", "ef", "ghi", {{"j", "k"}}}});
    ::mallopt(M_PERTURB, 0);
    return all;
  };
  EXPECT_EQ(messages(0x11), messages(0x22));
}

}  // namespace
}  // namespace orliq::cli
