// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/view/ViewFoxglove.h"
#include "orliq/verbs/view/ViewHub.h"
#include "orliq/verbs/view/ViewOptions.h"
#include "orliq/verbs/view/ViewTexts.h"

namespace orliq::cli {

/// The page as long as it is served, and the road of other viewers beside it.
class ViewSite {
 public:
  /// Serves it when it returns, and says where. Throws Failure when the port cannot be had.
  ViewSite(const ViewOptions& options, const ViewedSource& source, const Console& console);

  /// Tells the pages that it is over.
  ~ViewSite();
  ViewSite(const ViewSite&) = delete;
  ViewSite& operator=(const ViewSite&) = delete;

  ViewHub& Hub() { return hub_; }

  /// A sample of the only sensor, which no page gets from here.
  void Take(const lidar::ImuMsg& sample) {
    if (foxglove_) foxglove_->Take(sample);
  }

  /// How the sensors are, likewise; as of ViewFoxglove.
  void Tell(const std::vector<NamedLedger>& sensors, const std::string& silence) {
    if (foxglove_) foxglove_->Tell(sensors, silence);
  }

  /// What the pages got so far, and the other viewers.
  void AddRows(Report& report) const;

 private:
  void Serve(const PageOptions& options, const Console& console);

  ViewHub hub_;
  std::unique_ptr<ViewFoxglove> foxglove_;  // null: none
  std::unique_ptr<WebServer> server_;
};

}  // namespace orliq::cli
