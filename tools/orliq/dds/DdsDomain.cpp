// SPDX-License-Identifier: Apache-2.0
#include "orliq/dds/DdsDomain.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr std::uint32_t kMostDomain = 232;  // the ports of a higher one would be above 65535

// Large datagrams: a cloud is some hundred of them less.
constexpr char kSettings[] =
    "<General><MaxMessageSize>65500B</MaxMessageSize><FragmentSize>60000B</FragmentSize></General>";

constexpr char kLoopback[] =
    "<General><Interfaces><NetworkInterface name=\"lo\" multicast=\"false\"/></Interfaces>"
    "<AllowMulticast>false</AllowMulticast></General>"
    "<Discovery><ParticipantIndex>auto</ParticipantIndex>"
    "<MaxAutoParticipantIndex>40</MaxAutoParticipantIndex>"
    "<Peers><Peer address=\"127.0.0.1\"/></Peers></Discovery>";

std::string Configuration(bool loopback_only) {
  std::string text = std::string("<Domain id=\"any\">") + kSettings + "</Domain>";
  if (loopback_only) text += std::string(",<Domain id=\"any\">") + kLoopback + "</Domain>";
  const char* const of_user = std::getenv("CYCLONEDDS_URI");
  if (of_user != nullptr && *of_user != '\0') text += std::string(",") + of_user;
  return text;
}

}  // namespace

DdsSettings DdsSettingsOfRos() {
  DdsSettings settings;
  const char* const domain = std::getenv("ROS_DOMAIN_ID");
  if (domain != nullptr && *domain != '\0') {
    const char* const end = domain + std::strlen(domain);
    const auto [rest, fault] = std::from_chars(domain, end, settings.domain);
    if (fault != std::errc() || rest != end || settings.domain > kMostDomain) {
      throw Failure(ExitCode::kUsage, std::string("ROS_DOMAIN_ID is \"") + domain +
                                          "\": a domain is a number from 0 to 232");
    }
  }
  const char* const localhost = std::getenv("ROS_LOCALHOST_ONLY");
  settings.loopback_only = localhost != nullptr && std::strcmp(localhost, "1") == 0;
  return settings;
}

dds_entity_t RequireDds(const char* what, dds_return_t result) {
  if (result >= 0) return result;
  throw Failure(ExitCode::kFileFault,
                std::string("DDS gives no ") + what + " (" + dds_strretcode(-result) +
                    "): check that a network interface is up, and CYCLONEDDS_URI if it is set");
}

DdsDomain::DdsDomain(const DdsSettings& settings) {
  const std::string configuration = Configuration(settings.loopback_only);
  domain_ = dds_create_domain(settings.domain, configuration.c_str());
  if (domain_ == DDS_RETCODE_PRECONDITION_NOT_MET)
    domain_ = 0;  // another of this process has made it
  RequireDds("domain", domain_);
  participant_ = dds_create_participant(settings.domain, nullptr, nullptr);
  if (participant_ < 0) Leave();
  RequireDds("participant", participant_);
}

DdsDomain::~DdsDomain() {
  Leave();
}

void DdsDomain::Leave() {
  if (participant_ > 0) dds_delete(participant_);
  if (domain_ > 0) dds_delete(domain_);
}

}  // namespace orliq::cli
