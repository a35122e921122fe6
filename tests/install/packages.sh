#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The Debian packages: lintian finds no error, and on a machine that holds nothing but Debian's base
# they install, and the program runs and PROGRAM with their library: it plays a capture, as
# examples/playback.cpp does. Needs root for the bare machine.
# Usage: tests/install/packages.sh PACKAGE_FOLDER PROGRAM
set -euo pipefail
program=$(realpath "$2")
cd "$1"
lintian --allow-root --fail-on error ./*.deb

if [ "$(id -u)" != 0 ]; then
  echo "packages: SKIPPED the bare machine: only root can make one"
  exit 0
fi
# From where this machine itself gets its packages.
release=$(. /etc/os-release && echo "$VERSION_CODENAME")
mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $release" 'Created-By: Packages' |
  head -n 1)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
chmod 755 "$root"
debootstrap --variant=minbase "$release" "$root" "$mirror" > debootstrap.log 2>&1 ||
  { tail debootstrap.log; exit 1; }
cp ./*.deb "$root/tmp"
cp "$program" "$root/tmp/program"

inside() {
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive \
    LC_ALL=C sh -c "$1"
}
inside 'apt-get install -qq -y --no-install-recommends /tmp/*.deb' > apt.log 2>&1 ||
  { tail apt.log; exit 1; }
inside 'cd /tmp && orliq --version &&
        test -s /usr/share/man/man1/orliq.1.gz && test -s /usr/share/bash-completion/completions/orliq &&
        orliq simulate --model juniq --frames 2 --out room.pcap --check-folder room --quiet > out &&
        orliq play room.pcap --model juniq --check-folder room --quiet | grep "^Frames  *2$" &&
        ldd program | grep "libmulti_driver.* => /" && ./program room.pcap room | grep " points at "' ||
  { echo "packages: on the bare machine this is as far as it came"; exit 1; }
inside 'apt-get purge -qq -y orliq "libmulti-driver*"' >> apt.log 2>&1
