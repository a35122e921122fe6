// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "orliq/capture/CaptureSurvey.h"
#include "orliq/sensors/SensorWords.h"
#include "orliq/terminal/Report.h"

// Words for what a survey has found, shared by the verbs that read captures. What the user may do about
// it is told in `words`.
namespace orliq::cli {

/// Surveys a capture behind a progress bar, with `task` before it.
CaptureSurvey SurveyWithBar(const std::string& path, const SurveyScope& scope, bool quiet,
                            const std::string& task = "reading");

/// Whether the driver can read any datagram that fits the model.
bool FitsAny(const CaptureSurvey& survey, const Model& model);

/// Whether it can read any that fits one of the models.
bool FitsAnyModel(const CaptureSurvey& survey);

/// The ports whose readable datagrams fit the model.
std::set<std::uint16_t> FittingPorts(const CaptureSurvey& survey, const Model& model);

/// The one port of them: 0 when there is none. Throws Failure when there are several and the user
/// has to choose.
std::uint16_t FittingPort(const CaptureSurvey& survey, const Model& model,
                          const SensorWords& words = {});

/// Addresses and ports from which readable datagrams of the model go to `port` (0: to any), the
/// busiest first.
std::vector<std::string> Senders(const CaptureSurvey& survey, const Model& model,
                                 std::uint16_t port);

/// "192.168.1.200:2368 and 192.168.1.201:2368 send to port 2368 ...", and what to do.
std::string MixedText(const std::vector<std::string>& senders, std::uint16_t port,
                      const SensorWords& words = {});

/// The address that --source names, 0 for an empty text. Throws Failure for what is no address.
std::uint32_t ParseSource(const std::string& text);

/// "juniq", "glavor or fennix", "juniq (98 of 100)", "none", or why the driver cannot read the flow.
std::string FitText(const Flow& flow);

/// A remark when the content of readable packets that fit the model hints at another one; or empty.
std::string OtherModelText(const CaptureSurvey& survey, const Model& model,
                           const SensorWords& words = {});

/// Why the capture has nothing for the model (null: for any) that is read as `scope` says, and what
/// to do about it. `survey` is of the whole capture.
std::string WhyNothingFits(const CaptureSurvey& survey, const SurveyScope& scope,
                           const Model* model, const SensorWords& words = {});

/// "ends early after 12 good records (...)" for a survey with a fault.
std::string FaultText(const CaptureSurvey& survey);

/// Those of the skipped records that hold a datagram, by reason. Other traffic is no loss.
LostRecords FindLostRecords(const std::array<std::uint64_t, kSkips>& skipped);

/// "12 (VLAN tag: record the untagged interface), 3 (IPv6)", or "none".
std::string LostText(const LostRecords& lost);

/// The same for programs, with the keys of SkipNames.
Json LostJson(const LostRecords& lost);

/// Adds the tables of flows, with the frames of `model` if it is not null, and of skipped records.
void AddFlows(Report& report, const CaptureSurvey& survey, const Model* model);
void AddSkipped(Report& report, const CaptureSurvey& survey);

/// "20 complete juniq frames, 4 packets before and 0 after them".
std::string FramesText(const std::vector<FrameRecords>& frames, const Model& model);

}  // namespace orliq::cli
