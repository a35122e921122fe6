#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The page's tests of a capture against the program itself: web/test/program.sh ORLIQ
set -euo pipefail
orliq=$(realpath "$1")
cd "$(dirname "$0")/.."
folder=$(mktemp -d)
view=
trap '[ -z "$view" ] || kill -INT "$view"; wait; rm -r "$folder"' EXIT

"$orliq" simulate --model juniq --frames 12 --quiet --out "$folder/room.pcap" \
    --check-folder "$folder/check"
"$orliq" view "$folder/room.pcap" --model juniq --check-folder "$folder/check" --http 0 --quiet \
    2> "$folder/address" &
view=$!
for _ in $(seq 100); do
  url=$(sed -n 's/^view: //p' "$folder/address")
  [ -n "$url" ] && break
  kill -0 "$view"
  sleep 0.1
done
ORLIQ_VIEW_URL=$url node --test test/page.test.mjs
