#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# A shared library exports exactly what a list names, not counting what the compiler needs of the
# standard library's templates: that differs from compiler to compiler.
# Usage: tests/install/exported_symbols.sh NM LIBRARY LIST; with --renew behind, the list is written.
set -eu
export LC_ALL=C
exported() {
  "$1" -D --defined-only --format=posix "$2" | cut -d ' ' -f 1 |
    grep -vE '^_Z(Z|GV|T[ISV])?N?K?(S|9__gnu_cxx)' | c++filt | sort -u
}
if [ "${4:-}" = --renew ]; then
  exported "$1" "$2" > "$3"
else
  exported "$1" "$2" | diff "$3" -
fi
