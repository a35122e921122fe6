// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <new>
#include <typeinfo>

namespace orliq::lidar {

/// True when nobody derived from the cloud, so that its points may be appended without asking it.
template <typename Cloud>
bool IsPlainCloud(const Cloud& cloud) {
  return typeid(cloud) == typeid(Cloud);
}

/// Runs over points that do not exist yet: what it points at turns into `make(i)` where a point is
/// built from it, so a vector that takes the range has each point written in its own memory.
template <typename P, typename Make>
class PointMaker {
 public:
  struct Made {
    operator P() const { return make(at); }  // implicit: reads like a point
    const Make& make;
    std::size_t at;
  };
  using iterator_category = std::forward_iterator_tag;
  using value_type = P;
  using difference_type = std::ptrdiff_t;
  using pointer = const P*;
  using reference = Made;

  PointMaker(const Make& make, std::size_t at) : make_(make), at_(at) {}
  Made operator*() const { return {make_, at_}; }
  PointMaker& operator++() {
    ++at_;
    return *this;
  }
  bool operator==(const PointMaker& other) const { return at_ == other.at_; }
  bool operator!=(const PointMaker& other) const { return at_ != other.at_; }

 private:
  Make make_;
  std::size_t at_;
};

/// Pushes the points `make(0)` to `make(count - 1)` one after the other; after each `pushed(i, index)`
/// is told the place of the cloud's last point, -1 when it holds none.
template <typename Cloud, typename Make, typename Pushed>
void PushPoints(Cloud& cloud, std::size_t count, const Make& make, const Pushed& pushed) {
  using P = typename Cloud::PointType;
  // Some at a time: a point whose fields were written a moment ago is slow to copy.
  constexpr std::size_t kAtOnce = 32;
  alignas(P) unsigned char memory[kAtOnce][sizeof(P)];
  for (std::size_t first = 0; first < count; first += kAtOnce) {
    const std::size_t end = std::min(count, first + kAtOnce);
    for (std::size_t i = first; i < end; ++i) new (memory[i - first]) P(make(i));
    for (std::size_t i = first; i < end; ++i) {
      cloud.PushPoint(*std::launder(reinterpret_cast<const P*>(memory[i - first])));
      pushed(i, static_cast<int>(cloud.points.size()) - 1);
    }
  }
}

/// Appends these points, to a derived cloud through its own PushPoint. A plain one grows as that
/// many calls of PushPoint would let it.
template <typename Cloud, typename Make, typename Pushed>
void AppendPoints(Cloud& cloud, std::size_t count, const Make& make, const Pushed& pushed) {
  auto& list = cloud.points;
  if (!IsPlainCloud(cloud) || list.capacity() - list.size() < count) {
    return PushPoints(cloud, count, make, pushed);
  }
  const int first = static_cast<int>(list.size());
  using Maker = PointMaker<typename Cloud::PointType, Make>;
  list.insert(list.end(), Maker(make, 0), Maker(make, count));
  for (std::size_t i = 0; i < count; ++i) pushed(i, first + static_cast<int>(i));
}

/// Likewise, when nobody asks for places.
template <typename Cloud, typename Make>
void AppendPoints(Cloud& cloud, std::size_t count, const Make& make) {
  AppendPoints(cloud, count, make, [](std::size_t /*i*/, int /*index*/) {});
}

}  // namespace orliq::lidar
