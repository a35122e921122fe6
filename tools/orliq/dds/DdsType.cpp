// SPDX-License-Identifier: Apache-2.0
#include "orliq/dds/DdsType.h"

#include <dds/ddsi/ddsi_serdata.h>
#include <dds/ddsi/ddsi_sertype.h>
#include <dds/ddsi/q_radmin.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace orliq::cli {
namespace {

using Bytes = std::shared_ptr<const std::string>;

/// A message in the hands of DDS, which counts who holds it.
struct Message : ddsi_serdata {
  Message(const ddsi_sertype* of_type, ddsi_serdata_kind of_kind, Bytes bytes)
      : ddsi_serdata{}, cdr(std::move(bytes)) {
    ddsi_serdata_init(this, of_type, of_kind);
  }
  Bytes cdr;
};

const std::string& BytesOf(const ddsi_serdata* message) {
  return *static_cast<const Message*>(message)->cdr;
}

/// What stands for the key that the topics do not have.
ddsi_serdata* NoKey(const ddsi_sertype* type) {
  static const Bytes nothing = std::make_shared<const std::string>();
  return new Message(type, SDK_KEY, nothing);
}

bool HaveOneKey(const ddsi_serdata* /*a*/, const ddsi_serdata* /*b*/) {
  return true;
}

std::uint32_t SizeOf(const ddsi_serdata* message) {
  return static_cast<std::uint32_t>(BytesOf(message).size());
}

/// Of the pieces in which it arrived, which may overlap.
ddsi_serdata* FromPieces(const ddsi_sertype* type, ddsi_serdata_kind kind, const nn_rdata* piece,
                         std::size_t size) {
  auto bytes = std::make_shared<std::string>();
  bytes->reserve(size);
  for (; piece != nullptr; piece = piece->nextfrag) {
    const std::size_t begin = bytes->size();
    if (piece->maxp1 <= begin) continue;
    if (piece->min > begin) return nullptr;
    const unsigned char* const payload =
        NN_RMSG_PAYLOADOFF(piece->rmsg, NN_RDATA_PAYLOAD_OFF(piece));
    const unsigned char* const rest = payload + (begin - piece->min);
    bytes->append(rest, rest + (piece->maxp1 - begin));
  }
  return new Message(type, kind, std::move(bytes));
}

ddsi_serdata* FromParts(const ddsi_sertype* type, ddsi_serdata_kind kind, ddsrt_msg_iovlen_t parts,
                        const ddsrt_iovec_t* part, std::size_t /*size*/) {
  auto bytes = std::make_shared<std::string>();
  for (; parts > 0; --parts, ++part) {
    bytes->append(static_cast<const char*>(part->iov_base), part->iov_len);
  }
  return new Message(type, kind, std::move(bytes));
}

ddsi_serdata* FromKey(const ddsi_sertype* type, const ddsi_keyhash* /*key*/) {
  return NoKey(type);
}

/// There are no structs of these types.
ddsi_serdata* FromStruct(const ddsi_sertype* /*type*/, ddsi_serdata_kind /*kind*/,
                         const void* /*sample*/) {
  return nullptr;
}

bool ToStruct(const ddsi_serdata* /*message*/, void* /*sample*/, void** /*to*/, void* /*end*/) {
  return false;
}

bool KeyToStruct(const ddsi_sertype* /*type*/, const ddsi_serdata* /*message*/, void* /*sample*/,
                 void** /*to*/, void* /*end*/) {
  return false;
}

/// DDS sends words of four bytes: it asks for up to three behind the last one.
void CopyTo(const ddsi_serdata* message, std::size_t offset, std::size_t size, void* to) {
  const std::string& bytes = BytesOf(message);
  const std::size_t there = std::min(size, bytes.size() - std::min(offset, bytes.size()));
  if (there > 0) std::memcpy(to, bytes.data() + offset, there);
  std::memset(static_cast<char*>(to) + there, 0, size - there);
}

ddsi_serdata* Refer(const ddsi_serdata* message, std::size_t offset, std::size_t size,
                    ddsrt_iovec_t* to) {
  const std::string& bytes = BytesOf(message);
  if (offset + size <= bytes.size()) {
    to->iov_base = const_cast<char*>(bytes.data()) + offset;  // from which it only reads
  } else {
    to->iov_base = std::malloc(size);
    if (to->iov_base == nullptr) std::abort();  // as DDS does itself
    CopyTo(message, offset, size, to->iov_base);
  }
  to->iov_len = size;
  return ddsi_serdata_ref(message);
}

void EndReference(ddsi_serdata* message, const ddsrt_iovec_t* to) {
  const std::string& bytes = BytesOf(message);
  const auto* const place = static_cast<const char*>(to->iov_base);
  // The end belongs to the text, too: of none there is nothing but that.
  if (place < bytes.data() || place > bytes.data() + bytes.size()) std::free(to->iov_base);
  ddsi_serdata_unref(message);
}

ddsi_serdata* ToKey(const ddsi_serdata* message) {
  ddsi_serdata* const key = NoKey(message->type);
  key->type = nullptr;
  return key;
}

void FreeMessage(ddsi_serdata* message) {
  delete static_cast<Message*>(message);
}

std::size_t Print(const ddsi_sertype* /*type*/, const ddsi_serdata* message, char* to,
                  std::size_t size) {
  return static_cast<std::size_t>(std::snprintf(to, size, "%u bytes", SizeOf(message)));
}

void KeyHash(const ddsi_serdata* /*message*/, ddsi_keyhash* to, bool /*md5*/) {
  std::memset(to, 0, sizeof *to);
}

constexpr ddsi_serdata_ops MessageOperations() {
  ddsi_serdata_ops operations = {};
  operations.eqkey = HaveOneKey;
  operations.get_size = SizeOf;
  operations.from_ser = FromPieces;
  operations.from_ser_iov = FromParts;
  operations.from_keyhash = FromKey;
  operations.from_sample = FromStruct;
  operations.to_ser = CopyTo;
  operations.to_ser_ref = Refer;
  operations.to_ser_unref = EndReference;
  operations.to_sample = ToStruct;
  operations.to_untyped = ToKey;
  operations.untyped_to_sample = KeyToStruct;
  operations.free = FreeMessage;
  operations.print = Print;
  operations.get_keyhash = KeyHash;
  return operations;
}
const ddsi_serdata_ops kMessageOperations = MessageOperations();

void FreeType(ddsi_sertype* type) {
  ddsi_sertype_fini(type);
  delete type;
}

void ZeroStructs(const ddsi_sertype* /*type*/, void* /*samples*/, std::size_t /*count*/) {}

void AllocateStructs(void** /*to*/, const ddsi_sertype* /*type*/, void* /*old*/,
                     std::size_t /*old_count*/, std::size_t /*count*/) {
  std::abort();  // nobody asks for structs
}

void FreeStructs(const ddsi_sertype* /*type*/, void** /*samples*/, std::size_t /*count*/,
                 dds_free_op_t /*operation*/) {}

/// Types of one name are one.
bool AreEqual(const ddsi_sertype* /*a*/, const ddsi_sertype* /*b*/) {
  return true;
}

std::uint32_t HashOf(const ddsi_sertype* /*type*/) {
  return 0;
}

const ddsi_sertype_ops& TypeOperations() {
  static const ddsi_sertype_ops operations = [] {
    ddsi_sertype_ops ops = {};
    ops.version = ddsi_sertype_v0;
    ops.free = FreeType;
    ops.zero_samples = ZeroStructs;
    ops.realloc_samples = AllocateStructs;
    ops.free_samples = FreeStructs;
    ops.equal = AreEqual;
    ops.hash = HashOf;
    return ops;
  }();
  return operations;
}

}  // namespace

dds_entity_t CreateTopic(dds_entity_t participant, const std::string& name,
                         const std::string& type_name, const dds_qos_t* qos,
                         const ddsi_sertype** type) {
  auto* own = new ddsi_sertype{};
  ddsi_sertype_init_flags(own, type_name.c_str(), &TypeOperations(), &kMessageOperations,
                          DDSI_SERTYPE_FLAG_TOPICKIND_NO_KEY);
  own->allowed_data_representation = DDS_DATA_REPRESENTATION_FLAG_XCDR1;
  const dds_entity_t topic =
      dds_create_topic_sertype(participant, name.c_str(), &own, qos, nullptr, nullptr);
  if (topic < 0) ddsi_sertype_unref(own);
  *type = own;
  return topic;
}

dds_return_t Write(dds_entity_t writer, const ddsi_sertype* type, Bytes cdr) {
  auto* const message = new Message(type, SDK_DATA, std::move(cdr));
  // The message belongs to DDS from here on.
  return dds_writecdr(writer, message);  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)
}

Bytes Take(dds_entity_t reader) {
  ddsi_serdata* message = nullptr;
  dds_sample_info_t info;
  while (dds_takecdr(reader, &message, 1, &info, DDS_ANY_STATE) > 0) {
    Bytes bytes = static_cast<const Message*>(message)->cdr;
    ddsi_serdata_unref(message);
    if (info.valid_data) return bytes;
  }
  return nullptr;
}

}  // namespace orliq::cli
