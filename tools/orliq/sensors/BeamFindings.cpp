// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/BeamFindings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "decoder/BeamDirection.h"
#include "decoder/BeamTable.h"
#include "multi_driver/DriverParam.h"
#include "orliq/sensors/BeamLines.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr std::uint32_t kBeams = kBeamColumns * kBeamRows;

constexpr float kQuarterTurn = 1.6F;        // [rad] a little more than 90 degrees
constexpr float kLargestOffset = 5.0F;      // [m] no ranging error that a bench corrects comes near
constexpr std::size_t kFewZeros = 500;      // angles: a grid may have one column or row at 0
constexpr std::size_t kManyZeros = 12'288;  // offsets, which may be rounded to centimetres
constexpr double kMostly = 0.5;             // share of a table's variance
constexpr float kLoneAngle = 2.0F;          // [deg] several times the distance between beams
constexpr float kLoneOffset = 0.5F;         // [m]
constexpr float kLoneRatio = 20.0F;         // to what is usual in the table
constexpr std::size_t kMostLone = 500;      // more are the table's own roughness
constexpr char kLone[] = "far from all beams around";

bool WithinDriverLimits(float angle_deg) {
  const lidar::DecoderParam limits;  // the same for both angles, and to both sides
  const float seen = lidar::CentidegreesToDegrees(lidar::TableAngle(angle_deg, 100.0));
  return limits.min_azimuth <= seen && seen <= limits.max_azimuth;
}

std::string Place(std::uint32_t beam) {
  return "column " + std::to_string(beam % kBeamColumns) + ", row " +
         std::to_string(beam / kBeamColumns);
}

class BeamCheck {
 public:
  explicit BeamCheck(const CheckedTable& table)
      : table_(table), values_(table.values), angles_(table.unit == "deg"), faulty_(kBeams) {}

  std::vector<Finding> Run() {
    AddBeams("not_finite", "NaN or infinite", [](float value) { return !std::isfinite(value); });
    IsConstant() ? AddConstant() : AddZeros();
    if (IsOfUse()) {
      angles_ ? CheckAngles() : CheckOffsets();
      if (!Has("unit")) CheckNeighbours();  // distances mean nothing then
    }
    return std::move(findings_);
  }

 private:
  void Add(const char* kind, const std::string& text, std::vector<std::uint32_t> beams = {}) {
    for (const std::uint32_t beam : beams) faulty_[beam] = 1;
    findings_.push_back({kind, table_.word, text, std::move(beams)});
  }

  /// What is left of a table of which more than half is wrong tells nothing more.
  bool IsOfUse() const {
    const auto wrong = std::count(faulty_.begin(), faulty_.end(), 1);
    const ValueRange range = table_.Range();
    return wrong <= kBeams / 2 && range.min < range.max;
  }

  template <typename Predicate>
  std::vector<std::uint32_t> BeamsThat(const Predicate& predicate) const {
    std::vector<std::uint32_t> beams;
    for (std::uint32_t i = 0; i < kBeams; ++i) {
      if (faulty_[i] == 0 && predicate(values_[i])) beams.push_back(i);
    }
    return beams;
  }

  void AddBeams(const char* kind, const std::string& what, std::vector<std::uint32_t> beams) {
    if (beams.empty()) return;
    std::string text = Count(beams.size(), "beam") + (beams.size() == 1 ? " is " : " are ");
    text += what + (beams.size() == 1 ? ": " : ", the first: ") + Place(beams.front());
    if (values_[beams.front()] != 0.0F) text += " (" + Significant(values_[beams.front()]) + ')';
    Add(kind, text, std::move(beams));
  }

  template <typename Predicate>
  void AddBeams(const char* kind, const std::string& what, const Predicate& predicate) {
    AddBeams(kind, what, BeamsThat(predicate));
  }

  bool IsConstant() const {
    const ValueRange range = table_.Range();
    return range.empty || range.min == range.max;
  }

  void AddConstant() {
    const ValueRange range = table_.Range();
    if (!range.empty) Add("constant", "all beams have the same number: " + Significant(range.min));
  }

  bool Has(const char* kind) const {
    return std::any_of(findings_.begin(), findings_.end(),
                       [&](const Finding& finding) { return finding.kind == kind; });
  }

  void AddZeros() {
    auto zeros = BeamsThat([](float value) { return value == 0.0F; });
    if (zeros.size() > (angles_ ? kFewZeros : kManyZeros)) {
      AddBeams("zeros", "exactly 0", std::move(zeros));
    }
  }

  float Largest() const {
    float largest = 0.0F;
    for (std::uint32_t i = 0; i < kBeams; ++i) {
      if (faulty_[i] == 0) largest = std::max(largest, std::fabs(values_[i]));
    }
    return largest;
  }

  void CheckAngles() {
    auto beyond = BeamsThat([](float angle) { return !WithinDriverLimits(angle); });
    if (beyond.size() > kBeams / 2) {
      Add("unit", "most angles are beyond 90 deg, up to " + Significant(Largest()) +
                      ": are they hundredths of a degree?");
    } else {
      AddBeams("limits", "beyond the driver's default limits of 90 deg, with points at the origin",
               std::move(beyond));
    }
    if (Largest() < kQuarterTurn) {
      Add("unit", "no angle is larger than " + Significant(Largest()) +
                      " deg: are they radians, or the numbers of an offset table?");
    }
    CheckPattern();
  }

  void CheckPattern() {
    const bool azimuth = table_.word == "azimuth";
    const double by_column = ShareOf([](std::uint32_t beam) { return beam % kBeamColumns; });
    const double by_row = ShareOf([](std::uint32_t beam) { return beam / kBeamColumns; });
    if ((azimuth ? by_column : by_row) > kMostly) return;
    const double other = azimuth ? by_row : by_column;
    const std::string own = azimuth ? "columns" : "rows";
    if (other <= kMostly) {
      return Add("pattern", "it does not vary along the " + own + ", as the beams do");
    }
    Add("pattern", azimuth ? "it varies along the rows, as an elevation table does"
                           : "it varies along the columns, as an azimuth table does");
  }

  void CheckOffsets() {
    auto beyond = BeamsThat([](float offset) { return std::fabs(offset) > kLargestOffset; });
    if (beyond.size() <= kBeams / 2) {
      return AddBeams("limits", "more than " + Significant(kLargestOffset) + " m off",
                      std::move(beyond));
    }
    Add("unit", "most offsets are larger than " + Significant(kLargestOffset) + " m, up to " +
                    Significant(Largest()) + ": are they millimetres, or an angle table?");
  }

  /// How much of the variance is between groups of beams, 0 to 1.
  template <typename Group>
  double ShareOf(const Group& group) const {
    std::array<double, kBeamColumns> sums{}, counts{};
    double sum = 0.0, squares = 0.0, count = 0.0;
    for (std::uint32_t i = 0; i < kBeams; ++i) {
      if (faulty_[i] != 0) continue;
      const double value = values_[i];
      sums[group(i)] += value;
      counts[group(i)] += 1.0;
      sum += value;
      squares += value * value;
      count += 1.0;
    }
    double between = 0.0;
    for (std::uint32_t i = 0; i < kBeamColumns; ++i) {
      if (counts[i] > 0.0) between += sums[i] * sums[i] / counts[i];
    }
    const double all = sum * sum / std::max(count, 1.0);
    return squares > all ? (between - all) / (squares - all) : 1.0;
  }

  /// How far a beam is from the middle one of those around it.
  float Distance(std::uint32_t beam) const {
    std::array<float, 8> around{};
    std::size_t count = 0;
    const int column = static_cast<int>(beam % kBeamColumns),
              row = static_cast<int>(beam / kBeamColumns);
    for (int k = 0; k < 9; ++k) {
      const int c = column + k % 3 - 1, r = row + k / 3 - 1;
      const bool inside = 0 <= c && c < int{kBeamColumns} && 0 <= r && r < int{kBeamRows};
      const auto other = static_cast<std::uint32_t>(c + int{kBeamColumns} * r);
      if (k != 4 && inside && faulty_[other] == 0) around[count++] = values_[other];
    }
    if (count == 0) return 0.0F;
    const auto middle = around.begin() + static_cast<std::ptrdiff_t>(count / 2);
    std::nth_element(around.begin(), middle, around.begin() + static_cast<std::ptrdiff_t>(count));
    return std::fabs(values_[beam] - *middle);
  }

  /// Whichever finds more of them: a block of wrong numbers is lone at its corners only.
  void CheckNeighbours() {
    std::vector<float> distances(kBeams);
    for (std::uint32_t i = 0; i < kBeams; ++i) distances[i] = faulty_[i] == 0 ? Distance(i) : 0.0F;
    auto lone = FarBeams(distances);
    if (lone.size() > kMostLone) lone.clear();
    if (!angles_ || Has("pattern")) return AddBeams("lone", kLone, std::move(lone));
    const bool azimuth = table_.word == "azimuth";
    const BeamLines lines(values_, faulty_, azimuth);
    auto stray = FarBeams(lines.Distances(values_));
    if (stray.size() <= lone.size()) {
      AddBeams("lone", kLone, std::move(lone));
    } else {
      AddBeams("stray",
               azimuth ? "far from the rest of its column" : "far from the rest of its row",
               std::move(stray));
    }
    if (const auto seam = lines.FindSeam()) AddSeam(*seam, azimuth ? "column " : "row ");
  }

  void AddSeam(const BeamLines::Seam& seam, const std::string& line) {
    Add("seam", "from " + line + std::to_string(seam.before) + " to " + line +
                    std::to_string(seam.after) + " it steps back, from " + Significant(seam.from) +
                    " to " + Significant(seam.to) + " deg: are numbers shifted, or signs wrong?");
  }

  /// A table that is rough by nature has none.
  std::vector<std::uint32_t> FarBeams(const std::vector<float>& distances) const {
    std::vector<float> sorted = distances;
    std::nth_element(sorted.begin(), sorted.begin() + kBeams / 2, sorted.end());
    const float far = std::max(angles_ ? kLoneAngle : kLoneOffset, kLoneRatio * sorted[kBeams / 2]);
    std::vector<std::uint32_t> beams;
    for (std::uint32_t i = 0; i < kBeams; ++i) {
      if (distances[i] > far) beams.push_back(i);
    }
    return beams;
  }

  const CheckedTable& table_;
  const std::vector<float>& values_;
  bool angles_;
  std::vector<std::uint8_t> faulty_;  ///< beams that a finding has named
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> FindInBeams(const CheckedTable& table) {
  return BeamCheck(table).Run();
}

}  // namespace orliq::cli
