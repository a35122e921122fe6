// SPDX-License-Identifier: Apache-2.0
#include "orliq/dds/DdsOutlet.h"

#include <dds/dds.h>

#include <atomic>
#include <utility>
#include <vector>

#include "orliq/dds/DdsDomain.h"
#include "orliq/dds/DdsType.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

/// "sensor_msgs::msg::dds_::Imu_" of "sensor_msgs/msg/Imu"
std::string DdsNameOf(const RosType& type) {
  const std::string name = type.name;
  const std::size_t package = name.find('/');
  return name.substr(0, package) + "::msg::dds_::" + name.substr(name.rfind('/') + 1) + '_';
}

/// What a writer promises.
DdsQos QosOf(const RosTopic& topic, bool reliable) {
  constexpr std::int32_t kLagging = 5;  // messages kept for a reader that lags behind
  constexpr std::int32_t kStates = 10;
  DdsQos qos(dds_create_qos(), dds_delete_qos);
  const bool streams = topic.type == &kRosPointCloud2 || topic.type == &kRosImu;
  const bool asks = !streams || reliable;
  dds_qset_reliability(qos.get(), asks ? DDS_RELIABILITY_RELIABLE : DDS_RELIABILITY_BEST_EFFORT, 0);
  dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST,
                   topic.latched ? 1
                   : streams     ? kLagging
                                 : kStates);
  if (topic.latched) {
    dds_qset_durability(qos.get(), DDS_DURABILITY_TRANSIENT_LOCAL);
    dds_qset_durability_service(qos.get(), 0, DDS_HISTORY_KEEP_LAST, 1, DDS_LENGTH_UNLIMITED,
                                DDS_LENGTH_UNLIMITED, DDS_LENGTH_UNLIMITED);
  }
  return qos;
}

}  // namespace

class DdsOutlet::Network {
 public:
  explicit Network(const DdsSettings& settings) : reliable_(settings.reliable), domain_(settings) {}

  std::size_t AddTopic(const RosTopic& topic) {
    const DdsQos qos = QosOf(topic, reliable_);
    Writer writer;
    const dds_entity_t entity =
        RequireDds("topic", CreateTopic(domain_.Participant(), "rt" + topic.name,
                                        DdsNameOf(*topic.type), qos.get(), &writer.type));
    writer.entity =
        RequireDds("writer", dds_create_writer(domain_.Participant(), entity, qos.get(), nullptr));
    writers_.push_back(writer);
    return writers_.size() - 1;
  }

  void Publish(std::size_t topic, std::shared_ptr<const std::string> cdr) {
    const Writer& writer = writers_[topic];
    if (Write(writer.entity, writer.type, std::move(cdr)) != DDS_RETCODE_OK) ++refused_;
  }

  std::uint64_t Refused() const { return refused_; }

 private:
  struct Writer {
    dds_entity_t entity = 0;
    const ddsi_sertype* type = nullptr;
  };

  bool reliable_;
  std::atomic<std::uint64_t> refused_{0};
  std::vector<Writer> writers_;
  DdsDomain domain_;
};

DdsOutlet::DdsOutlet(const DdsSettings& settings) : network_(std::make_unique<Network>(settings)) {}

DdsOutlet::~DdsOutlet() = default;

std::size_t DdsOutlet::AddTopic(const RosTopic& topic) {
  return network_->AddTopic(topic);
}

void DdsOutlet::Publish(std::size_t topic, const RosTime& /*stamp*/,
                        std::shared_ptr<const std::string> cdr) {
  network_->Publish(topic, std::move(cdr));
}

std::uint64_t DdsOutlet::Refused() const {
  return network_->Refused();
}

class DdsInlet::Network {
 public:
  Network(const DdsSettings& settings, const RosTopic& topic) : domain_(settings) {
    constexpr std::int32_t kWaiting = 100;  // messages that wait to be taken
    const DdsQos qos = QosOf(topic, settings.reliable);
    dds_qset_history(qos.get(), DDS_HISTORY_KEEP_LAST, kWaiting);
    const ddsi_sertype* type = nullptr;
    const dds_entity_t entity =
        RequireDds("topic", CreateTopic(domain_.Participant(), "rt" + topic.name,
                                        DdsNameOf(*topic.type), nullptr, &type));
    reader_ =
        RequireDds("reader", dds_create_reader(domain_.Participant(), entity, qos.get(), nullptr));
  }

  std::shared_ptr<const std::string> Take() const { return cli::Take(reader_); }

 private:
  DdsDomain domain_;
  dds_entity_t reader_ = 0;
};

DdsInlet::DdsInlet(const DdsSettings& settings, const RosTopic& topic)
    : network_(std::make_unique<Network>(settings, topic)) {}

DdsInlet::~DdsInlet() = default;

std::shared_ptr<const std::string> DdsInlet::Take() {
  return network_->Take();
}

}  // namespace orliq::cli
