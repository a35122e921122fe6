#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Two builds of orliq, such as for two processors, write the same bytes: captures, calibration, and the
# clouds that are played from them, for every model.
# Usage: tests/install/same_files.sh ORLIQ_PROGRAM OTHER_COMMAND...
set -euo pipefail
first=$(realpath "$1")
shift
other=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Of every model two frames, as clouds of a type with many fields.
write() {  # FOLDER ORLIQ_COMMAND...
  local folder=$1 model point calibration
  shift
  mkdir "$folder"
  for model in juniq glavor fennix corvik brantis hestra kelvane; do
    point=point-source calibration=()
    case $model in juniq | glavor) calibration=(--check-folder "$folder/$model-check") ;; esac
    [ $model = juniq ] && point=juniq
    "$@" simulate --model $model --frames 2 --quiet --out "$folder/$model.pcap" "${calibration[@]}" > /dev/null
    "$@" play "$folder/$model.pcap" --model $model --quiet --point $point --format csv \
      --out "$folder/$model" "${calibration[@]}" > /dev/null
  done
}

write "$work/first" "$first"
write "$work/other" "${other[@]}"
diff -r "$work/first" "$work/other"
lines=$(cat "$work"/first/*/frame*.csv | wc -l)
[ "$lines" -gt 100000 ] || { echo "same_files: only $lines points"; exit 1; }
echo "same files: $(find "$work/first" -type f | wc -l), of the clouds $lines lines"
