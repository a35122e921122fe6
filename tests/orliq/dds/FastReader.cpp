// SPDX-License-Identifier: Apache-2.0
#include "FastReader.h"

#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>

#include <stdexcept>
#include <thread>

/// For the address sanitizer: Debian's Fast DDS deletes a part of each reader by a type of another size.
// NOLINTBEGIN(readability-identifier-naming): the sanitizer's own name
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "new_delete_type_mismatch=0";
}
// NOLINTEND(readability-identifier-naming)

namespace orliq::cli {
namespace {

namespace dds = eprosima::fastdds::dds;
namespace rtps = eprosima::fastrtps::rtps;
using eprosima::fastrtps::types::ReturnCode_t;

/// Keeps the bytes of a message as they came.
class RawType : public dds::TopicDataType {
 public:
  explicit RawType(const std::string& name) {
    setName(name.c_str());
    m_typeSize = 16U << 20U;
    m_isGetKeyDefined = false;
  }
  bool serialize(void* /*data*/, rtps::SerializedPayload_t* /*payload*/) override { return false; }
  bool deserialize(rtps::SerializedPayload_t* payload, void* data) override {
    auto& bytes = *static_cast<std::string*>(data);
    bytes.assign(reinterpret_cast<const char*>(payload->data), payload->length);
    return true;
  }
  std::function<std::uint32_t()> getSerializedSizeProvider(void* /*data*/) override {
    return [] { return 0U; };
  }
  void* createData() override { return new std::string; }
  void deleteData(void* data) override { delete static_cast<std::string*>(data); }
  bool getKey(void* /*data*/, rtps::InstanceHandle_t* /*key*/, bool /*md5*/) override {
    return false;
  }
};

dds::DomainParticipantQos LoopbackOnly() {
  constexpr std::uint32_t kSocketBuffer = 4U << 20U;  // [bytes]
  dds::DomainParticipantQos qos;
  auto udp = std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>();
  udp->interfaceWhiteList.emplace_back("127.0.0.1");
  udp->receiveBufferSize = kSocketBuffer;
  qos.transport().use_builtin_transports = false;
  qos.transport().user_transports.push_back(udp);
  rtps::Locator_t here;
  rtps::IPLocator::setIPv4(here, 127, 0, 0, 1);
  auto& builtin = qos.wire_protocol().builtin;
  builtin.metatrafficUnicastLocatorList.push_back(here);
  builtin.initialPeersList.push_back(here);
  qos.wire_protocol().default_unicast_locator_list.push_back(here);
  return qos;
}

template <typename Entity>
Entity* Require(Entity* entity) {
  if (entity == nullptr) throw std::runtime_error("no DDS entity");
  return entity;
}

template <typename Ready>
bool WaitFor(std::chrono::seconds limit, const Ready& ready) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!ready()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace

class FastReader::Participant {
 public:
  Participant(std::uint32_t domain, const Wanted& wanted) {
    auto* const factory = dds::DomainParticipantFactory::get_instance();
    participant_ = Require(factory->create_participant(domain, LoopbackOnly()));
    dds::TypeSupport(new RawType(wanted.type)).register_type(participant_);
    auto* const topic =
        Require(participant_->create_topic(wanted.topic, wanted.type, dds::TOPIC_QOS_DEFAULT));
    auto* const subscriber = Require(participant_->create_subscriber(dds::SUBSCRIBER_QOS_DEFAULT));
    dds::DataReaderQos qos;
    qos.reliability().kind =
        wanted.reliable ? dds::RELIABLE_RELIABILITY_QOS : dds::BEST_EFFORT_RELIABILITY_QOS;
    qos.durability().kind =
        wanted.latched ? dds::TRANSIENT_LOCAL_DURABILITY_QOS : dds::VOLATILE_DURABILITY_QOS;
    qos.history().kind = dds::KEEP_ALL_HISTORY_QOS;
    qos.endpoint().history_memory_policy = rtps::DYNAMIC_RESERVE_MEMORY_MODE;
    reader = Require(subscriber->create_datareader(topic, qos));
  }

  ~Participant() {
    participant_->delete_contained_entities();
    dds::DomainParticipantFactory::get_instance()->delete_participant(participant_);
  }

  dds::DataReader* reader = nullptr;

 private:
  dds::DomainParticipant* participant_ = nullptr;
};

FastReader::FastReader(std::uint32_t domain, const Wanted& wanted)
    : participant_(std::make_unique<Participant>(domain, wanted)) {}

FastReader::~FastReader() = default;

std::string FastReader::Next(std::chrono::seconds limit) {
  std::string bytes;
  dds::SampleInfo info;
  const bool came = WaitFor(limit, [&] {
    return participant_->reader->take_next_sample(&bytes, &info) == ReturnCode_t::RETCODE_OK &&
           info.valid_data;
  });
  return came ? bytes : std::string();
}

}  // namespace orliq::cli
