// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "orliq/capture/CaptureSurvey.h"
#include "orliq/terminal/Report.h"

// Words for what a survey has found, shared by the verbs that read captures.
namespace orliq::cli {

/// Surveys a capture behind a progress bar.
CaptureSurvey SurveyWithBar(const std::string& path, std::uint16_t port, bool quiet);

/// Whether any datagram fits the model.
bool FitsAny(const CaptureSurvey& survey, const Model& model);

/// The port whose datagrams fit the model: 0 when none does. Throws Failure when several ports do
/// and the user has to choose.
std::uint16_t FittingPort(const CaptureSurvey& survey, const Model& model);

/// "juniq", "glavor or fennix", "juniq (98 of 100)", or "none".
std::string FitText(const Flow& flow);

/// Why the capture has nothing for the model, and what to do about it.
std::string WhyNothingFits(const CaptureSurvey& survey, const Model& model, std::uint16_t port);

/// "ends early after 12 good records (...)" for a survey with a fault.
std::string FaultText(const CaptureSurvey& survey);

/// Adds the tables of flows and of skipped records.
void AddFlows(Report& report, const CaptureSurvey& survey);
void AddSkipped(Report& report, const CaptureSurvey& survey);

}  // namespace orliq::cli
