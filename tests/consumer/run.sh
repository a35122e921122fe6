#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs a build into an empty folder, and lets a stranger's project use that by every road. Each
# program plays a capture that the installed orliq has simulated.
# Usage: tests/consumer/run.sh BUILD_FOLDER WORK_FOLDER
set -euo pipefail
cd "$(dirname "$0")/../.."
build=$1
rm -rf "${2:?}"
mkdir -p "$2"
work=$(cd "$2" && pwd)
prefix=$work/prefix
program=$PWD/examples/playback.cpp

fail() {
  echo "consumer: $*" >&2
  exit 1
}

# plays ROAD PROGRAM shared|static: it decodes the capture, with the library linked in this manner.
plays() {
  local linked=static
  [[ $(ldd "$2") == *libmulti_driver.so.* ]] && linked=shared
  [ "$linked" = "$3" ] || fail "by $1 the library is $linked"
  local said
  said=$("$2" "$work/room.pcap" "$work/room" | tail -n 1) || fail "by $1 the program fails"
  [[ $said =~ ^[1-9][0-9]*\ points\ at\  ]] || fail "by $1 the program prints: $said"
  echo "$1, $3: $said"
}

by_cmake() {  # ROAD shared|static OPTION...
  local road=$1 linked=$2
  shift 2
  cmake -S tests/consumer -B "$work/$road" -DROAD="$road" "$@" > "$work/$road.log"
  cmake --build "$work/$road" -j 2 >> "$work/$road.log"
  plays "$road" "$work/$road/consumer" "$linked"
}

# The lines of CMake in a guide, as a project would have them.
by_guide() {  # GUIDE
  local road=guide-$(basename "$1" .md)
  mkdir "$work/$road-source"
  {
    echo 'cmake_minimum_required(VERSION 3.22)'
    echo 'project(your LANGUAGES CXX)'
    echo "add_executable(your_program $program)"
    awk '/^```/ { in_cmake = /^```cmake/; next } in_cmake' "$1"
  } > "$work/$road-source/CMakeLists.txt"
  cmake -S "$work/$road-source" -B "$work/$road" -DCMAKE_PREFIX_PATH="$prefix" > "$work/$road.log"
  cmake --build "$work/$road" >> "$work/$road.log"
  plays "$road" "$work/$road/your_program" shared
}

by_pkg_config() {  # PREFIX shared|static OPTION...
  local installed=$1 linked=$2 flags
  shift 2
  flags=$(PKG_CONFIG_PATH="$installed/lib/pkgconfig" pkg-config --cflags --libs "$@" multi_driver)
  # shellcheck disable=SC2086
  "${CXX:-c++}" -std=c++17 -Wall -Wextra -Wnon-virtual-dtor -Wold-style-cast -Werror \
    -Wno-delete-non-abstract-non-virtual-dtor "$program" $flags -o "$work/by-pkg-config-$linked"
  LD_LIBRARY_PATH=$installed/lib plays pkg-config "$work/by-pkg-config-$linked" "$linked"
}

# Nothing but the standard library and each other: a file that includes one header compiles.
headers_stand_alone() {
  local header compiler
  for compiler in g++ clang++; do
    command -v "$compiler" > /dev/null || continue
    for header in "$prefix"/include/multi_driver/*.h; do
      echo "#include <multi_driver/${header##*/}>" |
        "$compiler" -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
          -I "$prefix/include" -x c++ - || fail "$compiler: $header"
    done
  done
}

# A release's programs run with the library of the next one of the same number.
named_by_its_number() {
  local real section
  real=$(readlink -f "$prefix/lib/libmulti_driver.so")
  section=$(readelf -d "$real")
  [[ $section =~ SONAME.*\[libmulti_driver\.so\.[0-9]+\] ]] || fail "no SONAME"
  [[ $real == *.so."$version" ]] || fail "$real"
}

cmake --install "$build" --prefix "$prefix" > "$work/install.log"
version=$("$prefix/bin/orliq" --version | sed -n 's/^orliq //p')
named_by_its_number
headers_stand_alone
for page in share/man/man1/orliq.1 share/bash-completion/completions/orliq; do
  compgen -G "$prefix/$page*" > /dev/null || fail "there is no $page"
done
"$prefix/bin/orliq" simulate --model juniq --frames 2 --out "$work/room.pcap" \
  --check-folder "$work/room" --quiet > /dev/null

mkdir "$work/modules"  # a stranger may have a FindPCAP of his own, which knows no target
echo 'set(PCAP_FOUND TRUE)' > "$work/modules/FindPCAP.cmake"

by_cmake shared shared -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="$version" \
  -DCMAKE_DISABLE_FIND_PACKAGE_PCAP=ON  # as without libpcap-dev
by_cmake static static -DCMAKE_PREFIX_PATH="$prefix" -DWANTED_VERSION="$version" \
  -DCMAKE_MODULE_PATH="$work/modules"
by_guide README.md
by_guide docs/install.md
by_pkg_config "$prefix" shared
# An installation may be moved; without the shared library beside it the static one is linked.
cp -r "$prefix" "$work/moved"
rm "$work"/moved/lib/libmulti_driver.so*
by_pkg_config "$work/moved" static --static
by_cmake subdirectory shared -DCMAKE_BUILD_TYPE=Debug -DCMAKE_MODULE_PATH="$work/modules"
plays subdirectory "$work/subdirectory/consumer_static" static
