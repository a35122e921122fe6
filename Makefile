# SPDX-License-Identifier: Apache-2.0
# Two doors for a newcomer. Both install what is missing on Debian or Ubuntu and build in build/.
PACKAGES := g++ cmake libpcap-dev libeigen3-dev libcli11-dev nlohmann-json3-dev \
            libgtest-dev libgmock-dev libbenchmark-dev
PRESET ?= release

.PHONY: demo test build packages
demo: build
	@tools/demo.sh build/$(PRESET)/tools/orliq/orliq build/demo

test: build
	ctest --preset $(PRESET)

build: packages
	cmake --preset $(PRESET)
	cmake --build --preset $(PRESET)

packages:
	@missing=$$(for p in $(PACKAGES); do \
	    dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    echo "installing:" $$missing; \
	    sudo=$$([ "$$(id -u)" = 0 ] || echo sudo); \
	    $$sudo apt-get update -qq && \
	    DEBIAN_FRONTEND=noninteractive $$sudo apt-get install -y -qq --no-install-recommends $$missing; \
	fi
