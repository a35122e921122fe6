#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the same sources again in another folder, from scratch, and compares what is shipped byte for
# byte. Leaves the packages of the second build in PACKAGE_FOLDER.
# Usage: tests/install/same_bytes.sh BUILD_FOLDER PACKAGE_FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
first=$1
packages=$2
other=$(mktemp -d)
trap 'rm -rf "$other"' EXIT

git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$other"
make -s -C "$other" deb CCACHE_DISABLE=1 > "$other/deb.log" 2>&1 || { cat "$other/deb.log"; exit 1; }
for file in src/libmulti_driver.so src/libmulti_driver.a tools/orliq/orliq; do
  cmp "$first/$file" "$other/build/package/$file"
  echo "same bytes in two folders: $(sha256sum < "$first/$file" | cut -c -16) ${file##*/}"
done
rm -rf "${packages:?}"
mkdir -p "$packages"
cp "$other"/build/package/*.deb "$packages"
