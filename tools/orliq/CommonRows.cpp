// SPDX-License-Identifier: Apache-2.0
#include "orliq/CommonRows.h"

namespace orliq::cli {

void AddPointRows(Report& report, std::uint64_t points, std::uint64_t non_zero) {
  const double share =
      points > 0 ? 100.0 * static_cast<double>(non_zero) / static_cast<double>(points) : 0.0;
  report.Add("points", "Points", points, Grouped(points));
  report.Add("non_zero_points", "Non-zero points", non_zero,
             Grouped(non_zero) + " (" + Fixed(share, 1) + " %)");
}

void AddRefusedRows(Report& report, const RefusedPackets& refused) {
  const bool none = refused.length + refused.identifier == 0;
  report.Add("refused_length", "Refused packets", refused.length,
             none ? "none"
                  : Grouped(refused.length) + " of wrong length (0x41), " +
                        Grouped(refused.identifier) + " with wrong identifier (0x42)");
  report.Add("refused_identifier", "", refused.identifier, "");
}

std::string FilesText(const CloudWriter& writer, const std::string& out) {
  return Count(writer.Files(), CloudFormatName(writer.Format()) + " file") + " in " + out + ", " +
         Megabytes(writer.Bytes());
}

}  // namespace orliq::cli
