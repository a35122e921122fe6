// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::lidar {

/// Sine and cosine of -180.00 .. +449.99 degrees in steps of 0.01 degree, looked up by the signed
/// angle in hundredths of a degree. Decoders never compute a sine or cosine for a point. The first
/// object of a process makes the tables, all share them.
class Trigon {
 public:
  static constexpr int kMinAngle = -18000;  // [0.01 deg] first angle of the tables
  static constexpr int kEntries = 63000;

  Trigon();
  Trigon(const Trigon&) = delete;
  Trigon& operator=(const Trigon&) = delete;

  /// True when the tables hold `angle_cdeg`.
  static constexpr bool Holds(int angle_cdeg) {
    // Added as unsigned numbers: any angle is defined, also the limits of int.
    return static_cast<unsigned>(angle_cdeg) + static_cast<unsigned>(-kMinAngle) <
           static_cast<unsigned>(kEntries);
  }

  /// Sine and cosine of an angle that the tables hold.
  float Sin(int angle_cdeg) const { return sine_[angle_cdeg]; }
  float Cos(int angle_cdeg) const { return cosine_[angle_cdeg]; }

 private:
  struct Tables;
  static const Tables& SharedTables();

  const float* sine_;    // entry of angle 0, so that a signed angle is the index
  const float* cosine_;  // likewise
};

}  // namespace orliq::lidar
