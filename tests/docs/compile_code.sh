#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The C++ in the guides compiles and links: each ```cpp block with a main as a program, every other one as
# the inside of a function that has a driver and its parameters. Errors name the line of the guide.
# Usage: tests/docs/compile_code.sh LIBRARY COMPILER [FLAG...], in the root of the project
set -eu
library=$1
shift
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

cat > "$folder/pieces.cpp" <<'END'
#include <multi_driver/OrliqDriver.h>
#include <multi_driver/OrliqMultiDriver.h>
#include <multi_driver/SensorModels.h>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <thread>
#include <utility>
END
awk -v folder="$folder" '
  function Close(i) {
    programs += program
    file = program ? folder "/program_" programs ".cpp" : folder "/pieces.cpp"
    if (!program) {
      ++pieces
      for (i = 0; i < lines; ++i) if (line[i] ~ /^#include/) { print line[i] >> file; line[i] = "" }
      print "void Piece" pieces "([[maybe_unused]] OrliqDriver<PointCloud<Point>>& driver," >> file
      print "[[maybe_unused]] orliq::lidar::DriverParam& param) {" >> file
    }
    print "#line " first " \"" FILENAME "\"" >> file
    for (i = 0; i < lines; ++i) print line[i] >> file
    if (!program) print "}" >> file
  }
  /^```/ && code { Close(); code = 0; next }
  code { program = program || /^int main\(/; line[lines++] = $0 }
  /^```cpp/ { code = 1; program = lines = 0; first = FNR + 1 }
  END {
    print "int main() {}" >> (folder "/pieces.cpp")
    if (code) print "a block has no end"
    if (programs == 0 || pieces == 0) print "the guides hold no code: are they here?"
    exit code || programs == 0 || pieces == 0
  }' README.md docs/*.md
# As every application that links the library by CMake, without clang's wish for a virtual destructor.
for source in "$folder"/*.cpp; do
  "$@" -std=c++17 -Wall -Wextra -Werror -Wno-delete-non-abstract-non-virtual-dtor -I include \
    -o "$folder/program" "$source" "$library" -pthread
done
