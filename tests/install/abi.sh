#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Programs that were built with the last release go on running: nothing that its library exported is
# gone or different. What is new since then is allowed. If a release has to break that, ORLIQ_ABI in
# CMakeLists.txt goes up with it. Each release writes the record anew, with --renew.
# Usage: tests/install/abi.sh LIBRARY_WITH_DEBUG_INFORMATION [--renew]
set -euo pipefail
cd "$(dirname "$0")/../.."
record=tests/install/abi.xml
dump=$(mktemp)
trap 'rm -f "$dump"' EXIT

abidw --headers-dir include/multi_driver --drop-private-types --no-corpus-path \
  --no-comp-dir-path --no-show-locs --no-architecture --out-file "$dump" "$1"
if [ "${2:-}" = --renew ]; then
  cp "$dump" "$record"
else
  abidiff --no-added-syms "$record" "$dump"
  echo "abi: nothing that the last release exported is gone or different"
fi
