// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/Diagnosis.h"

#include "support/DoctorFacts.h"

namespace orliq::test {
namespace {

const PortHolder kDriverProgram = {"", 1000, 4711, "driver"};

TEST(Diagnosis, SilenceIsExplainedByWhatReachedTheMachine) {
  Flow vlan = FlowOf("kelvane");
  vlan.hindrance = Skip::kVlan;
  Flow pieces = FlowOf("kelvane");
  pieces.hindrance = Skip::kFragment;
  Flow ipv6 = FlowOf("kelvane", 0);
  ipv6.hindrance = Skip::kIpv6;
  ExpectFaults({
      {"nothing at all", [](Facts& f) { f.Silence(); }, {"nothing_arrives"}},
      {"another port", [](Facts& f) { f.See(FlowOf("kelvane", kOwn, 2369)); }, {"other_port"}},
      {"another model's packets on another port are not this sensor's",
       [](Facts& f) { f.See(FlowOf("juniq", kOwn, 2369)); },
       {"nothing_arrives"}},
      {"nor those of another sensor that is examined",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.machine.ports.push_back(2369);
       },
       {"nothing_arrives"}},
      {"nor those that another program takes",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.machine.held = {2369};
       },
       {"nothing_arrives"}},
      {"unless they come from this sensor's address",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.machine.held = {2369};
         f.seen.source = "192.168.1.200";
       },
       {"other_port"}},
      {"nor those of another sender than --source",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.seen.source = "192.168.1.201";
         f.seen.way = Way{"192.168.1.201", kOwn};
       },
       {"nothing_arrives"}},
      {"an address that is not here",
       [](Facts& f) { f.See(FlowOf("kelvane", kStranger)); },
       {"other_address"}},
      {"neither port nor address",
       [](Facts& f) { f.See(FlowOf("kelvane", kStranger, 2369)); },
       {"other_port", "other_address"}},
      {"what is aimed at the port counts before what is not",
       [](Facts& f) {
         f.See(FlowOf("kelvane", kOwn, 2369));
         f.See(FlowOf("kelvane", kStranger));
       },
       {"other_address"}},
      {"broadcast passes --address by",
       [](Facts& f) {
         f.See(FlowOf("kelvane", 0xC0A801FF));
         f.seen.address = "192.168.1.102";
       },
       {"other_address"}},
      {"the right place", [](Facts& f) { f.See(FlowOf("kelvane")); }, {"filtered"}},
      {"so does broadcast go to every address",
       [](Facts& f) { f.See(FlowOf("kelvane", 0xFFFFFFFF)); },
       {"filtered"}},
      {"all of 127.0.0.0/8 is this machine",
       [](Facts& f) { f.See(FlowOf("kelvane", 0x7F000009)); },
       {"filtered"}},
      {"the route back decides",
       [](Facts& f) {
         f.See(FlowOf("kelvane"));
         f.machine.stack.reverse_path = 501;
       },
       {"reverse_path"}},
      {"but not of some other packets",
       [](Facts& f) {
         f.See(FlowOf("kelvane"));
         f.machine.stack.reverse_path = f.machine.stack.bad_checksum = 500;
       },
       {"filtered"}},
      {"VLAN", [&](Facts& f) { f.See(vlan); }, {"vlan"}},
      {"a VLAN whose tag an interface takes off",
       [&](Facts& f) {
         f.See(vlan);
         f.See(FlowOf("kelvane"));
       },
       {"filtered"}},
      {"IPv6, of which no address is known", [&](Facts& f) { f.See(ipv6); }, {"ipv6"}},
      {"pieces", [&](Facts& f) { f.See(pieces); }, {"fragments"}},
  });
}

TEST(Diagnosis, SilenceIsExplainedByTheInterface) {
  const auto with = [](auto change) {
    return [change](Facts& f) {
      f.Silence();
      change(f);
    };
  };
  ExpectFaults({
      {"no carrier",
       with([](Facts& f) { f.machine.interfaces[1].carrier = false; }),
       {"interface_down"}},
      {"no address",
       with([](Facts& f) { f.machine.interfaces[1].addresses.clear(); }),
       {"interface_down"}},
      {"one of two will do",
       with([](Facts& f) {
         f.machine.interfaces.push_back({"eth1", 3, false, false, false, 1500, {}, 0, 0});
       }),
       {"nothing_arrives"}},
      {"but not when the sensor is behind the other",
       with([](Facts& f) {
         f.machine.interfaces.push_back(
             {"eth1", 3, false, false, false, 1500, {{0x0A000001, 0xFF000000}}, 0, 0});
         f.seen.way = Way{"10.0.0.2", 0x0A000001};
       }),
       {"interface_down"}},
      {"no route",
       with([](Facts& f) {
         f.seen.way = Way{"10.0.0.2", {}};
       }),
       {"no_route"}},
      {"a packet of 1206 bytes and 28 of headers",
       with([](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.machine.interfaces[1].mtu = Named("kelvane").packet_bytes + 27U;
       }),
       {"nothing_arrives", "note small_mtu"}},
      {"which fits",
       with([](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.machine.interfaces[1].mtu = Named("kelvane").packet_bytes + 28U;
       }),
       {"nothing_arrives"}},
  });
}

TEST(Diagnosis, AnotherProgramIsInTheWayOfItsOwnAddressOnly) {
  ExpectFaults({
      {"both receive", [](Facts& f) { f.seen.holders = {kDriverProgram}; }, {"note port_shared"}},
      {"nothing came, and what came in went to the other",
       [](Facts& f) {
         f.See(FlowOf("kelvane"));
         f.seen.holders = {kDriverProgram};
       },
       {"port_taken"}},
      {"nothing came in for either",
       [](Facts& f) {
         f.Silence();
         f.seen.holders = {kDriverProgram};
       },
       {"nothing_arrives", "note port_shared"}},
      {"nobody could look",
       [](Facts& f) {
         f.Silence();
         f.machine.seen.why_not = "no right";
         f.seen.holders = {kDriverProgram};
       },
       {"port_taken"}},
      {"held alone",
       [](Facts& f) {
         f.Silence();
         f.seen.no_port = "in use";
         f.seen.holders = {kDriverProgram};
       },
       {"port_held"}},
      {"on another address",
       [](Facts& f) {
         f.seen.address = "192.168.1.102";
         f.seen.holders = {{"127.0.0.1", 0, 1, "x"}};
       },
       {}},
      {"an address that is not here",
       [](Facts& f) {
         f.Silence();
         f.seen.no_port = "no address of this machine";
         f.seen.address = "192.168.1.77";
         f.seen.holders = {kDriverProgram};
       },
       {"port_unusable"}},
  });
}

}  // namespace
}  // namespace orliq::test
