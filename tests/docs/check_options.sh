#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The guides name no verb and no option of orliq that there is not: those of `orliq VERB --option` are
# looked up in the help of the verb, a `--option` by itself in the help of all.
# Usage: tests/docs/check_options.sh ORLIQ_PROGRAM, in the root of the project
set -eu
orliq=$1
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
for verb in $("$orliq" --help | sed -n '/^Subcommands/,$ s/^  \([a-z-][a-z-]*\) .*/\1/p'); do
  "$orliq" "$verb" --help > "$folder/$verb"
done
cat "$folder"/* > "$folder/any"

awk '
  function Look(code, commands, count, i, rest, verb) {
    count = split(code, commands, /[|;&{}()]/)
    for (i = 1; i <= count; ++i) {
      rest = commands[i]
      verb = "any"
      if (match(rest, /(^|[ \/])orliq +[a-z][a-z-]*/)) {
        verb = substr(rest, RSTART, RLENGTH)
        sub(/.* /, "", verb)
        print FILENAME, verb, "--help"
      } else if (rest !~ /^ *--[a-z]/) {
        continue
      }
      while (match(rest, /(^|[ \[])--[a-z][a-z-]*/)) {
        option = substr(rest, RSTART, RLENGTH)
        sub(/^[^-]/, "", option)
        print FILENAME, verb, option
        rest = substr(rest, RSTART + RLENGTH)
      }
    }
  }
  function LookAtSpans(spans, count, i) {
    count = split(prose, spans, "`")
    for (i = 2; i <= count; i += 2) Look(spans[i])
    prose = ""
  }
  /^```/ { LookAtSpans(); fence = !fence; next }
  !fence && /^$/ { LookAtSpans() }
  !fence && /^    / { Look($0) }
  !fence { prose = prose " " $0; next }
  sub(/\\$/, "") { line = line $0; next }
  { Look(line $0); line = "" }
  END { LookAtSpans() }' README.md docs/*.md | sort -u > "$folder/named"
[ "$(wc -l < "$folder/named")" -gt 100 ] || { echo "the guides name no options: are they here?"; exit 1; }

status=0
while read -r guide verb option; do
  grep -qE -- "^ +(-[a-z],)?$option([ :=]|$)" "$folder/$verb" 2> /dev/null && continue
  echo "$guide: orliq $verb has no $option" | sed 's/orliq any has no/no verb of orliq has/'
  status=1
done < "$folder/named"
exit $status
