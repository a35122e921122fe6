#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Simulates sensors, plays their captures and writes frames as files: the main job, end to end.
# Usage: tools/demo.sh ORLIQ_PROGRAM FOLDER
set -eu
if [ $# -ne 2 ]; then
    echo "usage: $0 ORLIQ_PROGRAM FOLDER" >&2
    exit 2
fi
orliq=$1
folder=$2

show() {
    echo
    echo "\$ orliq $*"
}
run() {
    show "$@"
    "$orliq" "$@"
}

rm -f "${folder:?}"/frames/frame_* "${folder:?}"/check/*
mkdir -p "$folder"

echo "1. A synthetic Juniq sensor looks at a room with boxes for two seconds. Noise of 1 cm and"
echo "   isolated false returns make it look real. Its calibration goes into the check folder."
run simulate --model juniq --scene boxes --frames 20 --noise 0.01 --false-returns 0.002 \
    --out "$folder/room.pcap" --check-folder "$folder/check"
echo
echo "2. What the capture file holds:"
run info "$folder/room.pcap" --model juniq
echo
echo "3. The driver decodes it: calibration, radius filter against the false returns, one file"
echo "   per frame."
run play "$folder/room.pcap" --model juniq --check-folder "$folder/check" \
    --out "$folder/frames" --format pcd
echo
echo "4. Half a second of each other sensor that measures; two of them need no calibration."
demo_of() {
    model=$1
    shift
    show simulate --model "$model" --frames 5 --out "$folder/$model.pcap" "$@"
    "$orliq" simulate --model "$model" --frames 5 --out "$folder/$model.pcap" "$@" >/dev/null
    run play "$folder/$model.pcap" --model "$model" "$@"
}
demo_of glavor --check-folder "$folder/glavor-check"
demo_of corvik
demo_of kelvane
echo
echo "See it in the browser: orliq view $folder/room.pcap --model juniq --check-folder $folder/check"
echo "The clouds are in $folder/frames: $(ls "$folder/frames" | head -n 1) and following. Open them"
echo "in any viewer for PCD files. 'orliq play --help' shows other formats, limits and transforms."
