#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Programs that were built with the last release go on running: nothing that its library exported is
# gone or different. What is new since then is allowed. If a release has to break that, ORLIQ_ABI in
# CMakeLists.txt goes up with it. Each release writes the record anew, with --renew.
# Usage: tests/install/abi.sh BUILD_FOLDER_WITH_DEBUG_INFORMATION [--renew]
set -euo pipefail
cd "$(dirname "$0")/../.."
record=tests/install/abi.xml.gz
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

[[ $(readelf -SW "$1/src/libmulti_driver.a") == *.debug_info* ]] ||
  { echo "abi: $1 was built without debug information, in which the types stand"; exit 1; }

# The library once more, from its static form, with functions that show what it has only pointers to.
g++ -std=c++17 -g -femit-class-debug-always -shared -fPIC -fvisibility=hidden -I include tests/install/abi_surface.cpp \
  -Wl,--whole-archive "$1/src/libmulti_driver.a" -Wl,--no-whole-archive -lpcap \
  -Wl,-soname,"$(basename "$(readlink "$1/src/libmulti_driver.so")")" -o "$folder/library.so"
abidw --exported-interfaces-only --suppressions tests/install/abi_ignored.ini --no-corpus-path \
  --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names \
  --out-file "$folder/now.xml" "$folder/library.so"

if [ "${2:-}" = --renew ]; then
  gzip -9nc "$folder/now.xml" > "$record"
else
  gzip -dc "$record" > "$folder/then.xml"
  number() { sed -n "s/^<abi-corpus .* soname='\([^']*\)'.*/\1/p" "$1"; }
  status=0  # 1 and 2 in it: it could not compare
  abidiff --no-added-syms "$folder/then.xml" "$folder/now.xml" > "$folder/changes" || status=$?
  if [ $status = 0 ]; then
    echo "abi: nothing that the last release exported is gone or different"
  elif [ $((status & 3)) = 0 ] && [ "$(number "$folder/then.xml")" != "$(number "$folder/now.xml")" ]; then
    echo "abi: another than that of the last release, and so is its number: $(number "$folder/now.xml")"
  else
    cat "$folder/changes"
    echo "abi: programs built with the last release would break: take it back, or raise ORLIQ_ABI"
    exit 1
  fi
fi
