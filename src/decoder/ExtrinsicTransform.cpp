// SPDX-License-Identifier: Apache-2.0
#include "decoder/ExtrinsicTransform.h"

// Eigen's vector code fuses products and sums on some processors; the plain code has the same bits
// everywhere.
#define EIGEN_DONT_VECTORIZE
#include <Eigen/Geometry>

namespace orliq::lidar {
namespace {

/// Degrees to radians with the decimal factor that the sensors' tools use in place of 1/180.
double Radians(float degrees) {
  return degrees * 3.141592653589793 * 0.005555556;
}

}  // namespace

ExtrinsicTransform::ExtrinsicTransform(const TransformParam& param) {
  const Eigen::AngleAxisd roll(Radians(param.roll), Eigen::Vector3d::UnitX());
  const Eigen::AngleAxisd pitch(Radians(param.pitch), Eigen::Vector3d::UnitY());
  const Eigen::AngleAxisd yaw(Radians(param.yaw), Eigen::Vector3d::UnitZ());
  const Eigen::Matrix3d rotation =
      yaw.toRotationMatrix() * pitch.toRotationMatrix() * roll.toRotationMatrix();
  Eigen::Map<Eigen::Matrix<double, 4, 4, Eigen::RowMajor>> matrix(m_.data());
  matrix.setIdentity();
  matrix.topLeftCorner<3, 3>() = rotation;
  matrix.topRightCorner<3, 1>() = Eigen::Vector3d(param.x, param.y, param.z);
}

}  // namespace orliq::lidar
