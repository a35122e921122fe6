// SPDX-License-Identifier: Apache-2.0
#include "orliq/dds/DdsOutlet.h"

#include <gmock/gmock.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "FastReader.h"
#include "support/Patience.h"

namespace orliq::cli {
namespace {

using std::chrono::seconds;

const std::uint32_t kDomain = TestDomain();
constexpr seconds kLimit{20};
constexpr char kCloudType[] = "sensor_msgs::msg::dds_::PointCloud2_";
constexpr char kTransformsType[] = "tf2_msgs::msg::dds_::TFMessage_";

/// Of that many bytes, which are not all alike.
std::shared_ptr<const std::string> MessageOf(std::size_t size, unsigned seed) {
  std::string bytes({0, 1, 0, 0});
  while (bytes.size() < size) bytes += static_cast<char>(seed = seed * 1103515245U + 12345U);
  bytes.resize(size);
  return std::make_shared<const std::string>(bytes);
}

/// A datagram is made of words of four bytes, with zeros behind the message.
bool IsSame(const std::string& got, const std::string& message) {
  return got.size() < message.size() + 4 && got.substr(0, message.size()) == message &&
         got.find_first_not_of('\0', message.size()) == std::string::npos;
}

constexpr std::size_t kProbe = 48;  // [bytes]

/// Returns when the reader gets what is published: its writer may know of it later than it of the writer.
void Meet(DdsOutlet& outlet, std::size_t topic, FastReader& reader) {
  for (int i = 0; i < 200 && reader.Next(seconds(0)).empty(); ++i) {
    outlet.Publish(topic, {}, MessageOf(kProbe, 0));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

std::string NextOf(FastReader& reader) {
  std::string message = reader.Next(kLimit);
  while (message.size() == kProbe) message = reader.Next(kLimit);
  return message;
}

TEST(DdsOutlet, AnotherImplementationGetsEveryByte) {
  ::mallopt(M_PERTURB, 0xA5);  // nothing that memory held before goes with it
  DdsOutlet outlet({kDomain, true, true});
  const std::size_t topic = outlet.AddTopic({"/front/points", &kRosPointCloud2});
  FastReader reader(kDomain, {"rt/front/points", kCloudType, true});
  Meet(outlet, topic, reader);
  for (unsigned i = 0; i < 8; ++i) {  // the last ones in many datagrams
    const auto message = MessageOf(i < 4 ? 64 + i : 1200000 + i, i);
    outlet.Publish(topic, {}, message);
    EXPECT_TRUE(IsSame(NextOf(reader), *message)) << i;
  }
  for (unsigned i = 0; i < 5; ++i) outlet.Publish(topic, {}, MessageOf(1200000, i));
  for (unsigned i = 0; i < 5; ++i) EXPECT_TRUE(IsSame(NextOf(reader), *MessageOf(1200000, i))) << i;
  EXPECT_EQ(outlet.Refused(), 0);
}

TEST(DdsOutlet, ALatchedTopicTellsThoseWhoComeLate) {
  DdsOutlet outlet({kDomain, false, true});
  const std::size_t topic = outlet.AddTopic({"/tf_static", &kRosTransforms, true});
  outlet.Publish(topic, {}, MessageOf(100, 1));
  outlet.Publish(topic, {}, MessageOf(100, 2));
  FastReader reader(kDomain, {"rt/tf_static", kTransformsType, true, true});
  EXPECT_TRUE(IsSame(reader.Next(kLimit), *MessageOf(100, 2)));
}

/// In a process of its own, for it stops behind its first message.
pid_t StartStallingReader() {
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::execl(STALLING_READER, STALLING_READER, std::to_string(kDomain).c_str(), nullptr);
  std::_Exit(1);
}

TEST(DdsOutlet, AReaderThatStallsHoldsNobodyUp) {
  constexpr unsigned kMessages = 30;  // many times what is kept for a reader
  const pid_t child = StartStallingReader();
  DdsOutlet outlet({kDomain, true, true});
  const std::size_t topic = outlet.AddTopic({"/front/points", &kRosPointCloud2});
  int status = 0;
  while (::waitpid(child, &status, WUNTRACED | WNOHANG) == 0) {
    outlet.Publish(topic, {}, MessageOf(kProbe, 0));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_TRUE(WIFSTOPPED(status));
  FastReader reader(kDomain, {"rt/front/points", kCloudType, true});
  Meet(outlet, topic, reader);
  std::weak_ptr<const std::string> first;
  for (unsigned i = 0; i < kMessages && !HasFailure(); ++i) {
    const auto message = MessageOf(1200000, i);
    if (i == 0) first = message;
    outlet.Publish(topic, {}, message);
    EXPECT_TRUE(IsSame(NextOf(reader), *message)) << i;
  }
  EXPECT_EQ(outlet.Refused(), 0);
  EXPECT_TRUE(test::Eventually([&] { return first.expired(); }));  // only the last ones are kept
  ::kill(child, SIGKILL);
  ::waitpid(child, &status, 0);
}

TEST(DdsOutlet, TheDomainIsThatOfRos) {
  unsetenv("ROS_LOCALHOST_ONLY");  // of whoever runs the tests
  const auto domain = [](const char* id) {
    setenv("ROS_DOMAIN_ID", id, 1);
    return DdsSettingsOfRos().domain;
  };
  EXPECT_EQ(domain("232"), 232);
  EXPECT_EQ(domain(""), 0);
  for (const char* const id : {"233", "-1", "7x", "x"}) {
    EXPECT_THROW(domain(id), std::runtime_error) << id;
  }
  unsetenv("ROS_DOMAIN_ID");
  EXPECT_EQ(DdsSettingsOfRos().domain, 0);
  EXPECT_FALSE(DdsSettingsOfRos().loopback_only);
  setenv("ROS_LOCALHOST_ONLY", "1", 1);
  EXPECT_TRUE(DdsSettingsOfRos().loopback_only);
  unsetenv("ROS_LOCALHOST_ONLY");
}

}  // namespace
}  // namespace orliq::cli
