// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/view/ViewHub.h"
#include "orliq/verbs/view/ViewOptions.h"
#include "orliq/verbs/view/ViewTexts.h"

namespace orliq::cli {

/// The page as long as it is served.
class ViewSite {
 public:
  /// Serves it when it returns, and says where. Throws Failure when the port cannot be had.
  ViewSite(const PageOptions& options, const ViewedSource& source, const Console& console);

  /// Tells the pages that it is over.
  ~ViewSite();
  ViewSite(const ViewSite&) = delete;
  ViewSite& operator=(const ViewSite&) = delete;

  ViewHub& Hub() { return hub_; }

  /// What the pages got so far.
  void AddRows(Report& report) const;

 private:
  ViewHub hub_;
  std::unique_ptr<WebServer> server_;
};

}  // namespace orliq::cli
