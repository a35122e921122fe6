# SPDX-License-Identifier: Apache-2.0
# Two doors for a newcomer. Both install what is missing on Debian or Ubuntu and build in build/; the
# first builds the program only.
PACKAGES := g++ cmake libpcap-dev libeigen3-dev libcli11-dev nlohmann-json3-dev \
            libpng-dev libyaml-cpp-dev libgtest-dev libgmock-dev libbenchmark-dev
PRESET ?= release
ARCHITECTURE ?=  # a foreign one that some of the packages are of, such as arm64

.PHONY: demo test configure packages
demo: configure
	cmake --build --preset $(PRESET) --target orliq
	@tools/demo.sh build/$(PRESET)/tools/orliq/orliq build/demo

test: configure
	cmake --build --preset $(PRESET)
	ctest --preset $(PRESET)

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
