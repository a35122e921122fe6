// SPDX-License-Identifier: Apache-2.0
#include "filter/CloudFilter.h"

#include <algorithm>

#include "common/Diagnostics.h"

namespace orliq::lidar {
namespace {

/// Removes the points whose mask is 0. Every point is copied to where the next one that stays
/// belongs, without a branch: which points go is not predictable.
template <typename T>
void Compact(std::vector<T>& points, const std::vector<std::uint8_t>& mask) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const T point = points[i];
    points[kept] = point;
    kept += mask[i];
  }
  points.erase(points.begin() + static_cast<std::ptrdiff_t>(kept), points.end());
}

}  // namespace

template <typename T_PointCloud>
CloudFilter<T_PointCloud>::CloudFilter(bool const& enable, float const& radius,
                                       unsigned int const& min_neighbours)
    : impl_(std::make_shared<Impl>(enable, radius, min_neighbours)) {}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::RadiusFilter(std::shared_ptr<T_PointCloud>& cloud) {
  if (impl_->enable && cloud != nullptr) impl_->RadiusFilter(*cloud);
}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::Reset() {
  impl_->Reset();
}

template <typename T_PointCloud>
bool CloudFilter<T_PointCloud>::Impl::GrowMask() {
  if (mask.size() == kMaxRegistrations) {
    overfull = true;
    return false;
  }
  mask.resize(std::max<std::size_t>(2 * mask.size(), 1024));
  return true;
}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::Impl::RadiusFilter(T_PointCloud& cloud) {
  if (cloud.points.empty()) {
    diagnostics::FilterEmptyCloud(cloud.points.size());
    return;
  }
  if (overfull || registered != cloud.points.size()) {
    diagnostics::FilterMaskMismatch();
  } else {
    for (int row = 0; row < ScanGrid::kRows; ++row) ProcessRow(row);
    Compact(cloud.points, mask);
  }
  Reset();
}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::Impl::ProcessRow(int row) {
  if (!ScanGrid::HasRow(row)) return;
  grid.MarkSupported(row, radius, min_neighbours, {mask.data(), registered});
}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::Impl::EraseRow(int row) {
  if (ScanGrid::HasRow(row)) grid.EraseRow(row);
}

template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::Impl::Reset() {
  grid.Clear();
  registered = 0;
  overfull = false;
}

#define INSTANTIATE(Cloud) template class CloudFilter<Cloud>;
ORLIQ_FOR_EACH_CLOUD(INSTANTIATE)
#undef INSTANTIATE

}  // namespace orliq::lidar
