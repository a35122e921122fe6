# SPDX-License-Identifier: Apache-2.0
# Two doors for a newcomer. Both install what is missing on Debian or Ubuntu and build in build/; the
# first builds the program only.
PACKAGES := g++ cmake libpcap-dev libeigen3-dev libcli11-dev nlohmann-json3-dev \
            libpng-dev libyaml-cpp-dev libwebsockets-dev libfastcdr-dev cyclonedds-dev libzstd-dev \
            libdeflate-dev libgtest-dev libgmock-dev libbenchmark-dev
PRESET ?= release
PREFIX ?= /usr/local
DESTDIR ?=
ARCHITECTURE ?=  # a foreign one that some of the packages are of, such as arm64

.PHONY: demo test install deb configure packages
demo: configure
	cmake --build --preset $(PRESET) --target orliq
	@tools/demo.sh build/$(PRESET)/tools/orliq/orliq build/demo

test: PACKAGES += libfastrtps-dev  # another implementation of DDS, which reads what ours sends
test: configure
	cmake --build --preset $(PRESET)
	ctest --preset $(PRESET)

# The program and the library, for all users of this machine or, with PREFIX=$HOME/.local, for one.
# DESTDIR=FOLDER puts them into a folder that stands for the root, as packagers want it.
install: configure
	cmake --build --preset $(PRESET) --target multi_driver multi_driver_static orliq orliq_documents
	@root="$(DESTDIR)$(PREFIX)"; mkdir -p "$$root" 2>/dev/null; sudo=$$([ -w "$$root" ] || echo sudo); \
	$$sudo env DESTDIR="$(DESTDIR)" cmake --install build/$(PRESET) --prefix "$(PREFIX)" && \
	if [ -z "$(DESTDIR)" ] && { [ "$$(id -u)" = 0 ] || [ -n "$$sudo" ]; }; then $$sudo ldconfig; fi

# The Debian packages, in build/package.
deb: PACKAGES += dpkg-dev file
deb: packages
	cmake --preset package
	cmake --build --preset package
	cd build/package && rm -f ./*.deb && cpack  # of an earlier version none is left

configure: packages
	cmake --preset $(PRESET)

packages:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    echo "installing:" $$missing; \
	    sudo=$$([ "$$(id -u)" = 0 ] || echo sudo); \
	    if [ -n "$(ARCHITECTURE)" ]; then $$sudo dpkg --add-architecture $(ARCHITECTURE); fi && \
	    $$sudo apt-get update -qq && \
	    DEBIAN_FRONTEND=noninteractive $$sudo apt-get install -y -qq --no-install-recommends \
	        --no-remove $$missing; \
	fi
