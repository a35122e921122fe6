// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dds/dds.h>

#include <memory>
#include <string>

struct ddsi_serdata;
struct ddsi_sertype;

// Messages that are CDR already, for Cyclone DDS, which by itself makes CDR of C structs: the bytes that a
// file or a viewer gets are those that travel, and nobody copies them on the way to the socket.
namespace orliq::cli {

/// A topic without a key of that type name, such as "sensor_msgs::msg::dds_::Imu_"; negative: fault. `type` is
/// what its messages are made with, and lives as long as the topic.
dds_entity_t CreateTopic(dds_entity_t participant, const std::string& name,
                         const std::string& type_name, const dds_qos_t* qos,
                         const ddsi_sertype** type);

/// Negative: fault. The message is kept as long as DDS needs it.
dds_return_t Write(dds_entity_t writer, const ddsi_sertype* type,
                   std::shared_ptr<const std::string> cdr);

/// The next message that a reader of such a topic has got; null when there is none.
std::shared_ptr<const std::string> Take(dds_entity_t reader);

}  // namespace orliq::cli
