#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Eight simulated Juniqs at 10 frames/s through orliq bridge to a reader in another process, by DDS on
the loopback interface: clouds lost, and what publishing costs beside decoding.

  bench/bridge.py build/release [FRAMES]
"""
import json
import os
import subprocess
import sys
import tempfile
import time

SENSORS = 8
build, frames = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 300
orliq = os.path.abspath(build + "/tools/orliq/orliq")
reader = os.path.abspath(build + "/bench/dds_reader")
# Best effort, a reader needs room for the clouds that come at once: the system's default is for one.
buffers = '<Internal><SocketReceiveBufferSize max="8MB"/></Internal>'
environment = dict(os.environ, ROS_LOCALHOST_ONLY="1", ROS_DOMAIN_ID="42", CYCLONEDDS_URI=buffers)


def cpu_by_thread(pid):
    """[s] of each kind of thread: numbers behind its name are left out."""
    seconds = {}
    for task in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{task}/comm") as comm, open(
                f"/proc/{pid}/task/{task}/stat"
            ) as stat:
                name = comm.read().strip().rstrip("0123456789-")
                fields = stat.read().rsplit(")", 1)[1].split()
        except FileNotFoundError:
            continue
        ticks = int(fields[11]) + int(fields[12])
        seconds[name] = seconds.get(name, 0.0) + ticks / os.sysconf("SC_CLK_TCK")
    return seconds


def run(folder, mode):
    names = [f"s{i}" for i in range(SENSORS)]
    publish = [orliq, "bridge", "--config", "e.yaml", "--json", "--quiet"]
    publish += ["--reliable"] if mode == "reliable" else []
    seconds = frames / 10 + 4
    bridge = subprocess.Popen(publish, cwd=folder, env=environment, stdout=subprocess.PIPE)
    listener = subprocess.Popen([reader, str(seconds), mode] + names, env=environment, stdout=subprocess.PIPE)
    try:
        time.sleep(2)
        sender = subprocess.Popen(
            [orliq, "simulate", "--config", "e.yaml", "--frames", str(frames), "--quiet"],
            cwd=folder, stdout=subprocess.DEVNULL)
        time.sleep(2)
        before, start = cpu_by_thread(bridge.pid), time.time()
        time.sleep(frames / 10 - 4)
        after, span = cpu_by_thread(bridge.pid), time.time() - start
        sender.wait()
        heard = listener.communicate()[0].decode().split()
        bridge.send_signal(2)
        report = json.loads(bridge.communicate()[0])
    finally:
        for process in (bridge, listener):
            if process.poll() is None:
                process.kill()
    share = {name: (after[name] - before.get(name, 0.0)) / span for name in after}
    decoding = sum(share[name] for name in share if name == "orliq-dec")
    publishing = sum(share[name] for name in share if name == "orliq-ros" or not name.startswith("orliq"))
    sensors = report["sensors"]
    published = sum(sensor["clouds_published"] for sensor in sensors)
    left_out = sum(sensor["clouds_left_out"] for sensor in sensors)
    lost = sum(sensor["dropped_by_kernel"] + sensor["dropped_by_limit"] for sensor in sensors)
    print(f"{mode:12} published {published}, left out {left_out}, received {heard[0]}, "
          f"{int(heard[2]) / 1e6 / (frames / 10):.0f} MB/s, packets lost {lost}; "
          f"cores: decoding {decoding:.3f}, publishing {publishing:.3f}, ratio {publishing / decoding:.2f}")
    print("             " + ", ".join(f"{name} {value:.3f}" for name, value in sorted(share.items()) if value > 0.0005))


with tempfile.TemporaryDirectory() as folder:
    with open(folder + "/e.yaml", "w") as config:
        config.write("defaults: {model: juniq, address: 127.0.0.1}\nsensors:\n")
        for i in range(SENSORS):
            check = f"{folder}/check{i}"
            subprocess.run([orliq, "simulate", "--model", "juniq", "--frames", "1", "--out", folder + "/x.pcap",
                            "--force", "--check-folder", check, "--quiet"], check=True, stdout=subprocess.DEVNULL)
            config.write(f"  - {{name: s{i}, port: {24700 + i}, check_folder: {check}, extrinsics: {{x: {i}}}}}\n")
    for mode in ("best-effort", "reliable"):
        run(folder, mode)
