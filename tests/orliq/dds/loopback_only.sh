#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# What is published on the loopback interface goes out at no other one: counted in a network of its own, with a
# second interface at which readers would be looked for. Skipped where the system lets nobody make a network.
# Usage: loopback_only.sh DDS_TEST ORLIQ
set -eu
if [ "${3:-}" != inside ]; then
  unshare --map-root-user --net true 2> /dev/null || exit 77
  exec unshare --map-root-user --net sh "$0" "$1" "$2" inside
fi
command -v ip > /dev/null || exit 77
ip link set lo up
ip link add other type veth peer name far 2> /dev/null || exit 77
for end in other far; do
  switch=/proc/sys/net/ipv6/conf/$end/disable_ipv6  # it would speak by itself
  [ ! -e "$switch" ] || echo 1 2> /dev/null > "$switch" || exit 77
done
ip address add 10.9.9.1/24 dev other
ip link set other up
ip link set far up
sent() { awk '$1 == "other:" { print $11 }' /proc/net/dev; }
[ "$(sent)" = 0 ] || exit 77

"$1" --gtest_filter='DdsOutlet.AnotherImplementationGetsEveryByte:Bridge.AnotherImplementationReceivesTheDecodedPoints'
before=$(sent)
[ "$before" = 0 ] || { echo "$before packets left the loopback interface"; exit 1; }

folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
"$2" simulate --model juniq --frames 2 --quiet --out "$folder/room.pcap" --check-folder "$folder/check" > /dev/null
env -u ROS_LOCALHOST_ONLY -u CYCLONEDDS_URI "$2" bridge "$folder/room.pcap" --model juniq \
  --check-folder "$folder/check" --quiet > /dev/null
[ "$(sent)" -gt 0 ] || { echo "no packet is counted where there should be some"; exit 1; }
