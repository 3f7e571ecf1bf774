# Two commands on a fresh Debian 12 machine:
#   make run   installs what is missing, builds, and opens the Glimmerscape window
#   make test  installs what is missing, builds, and runs every test
BUILD ?= build
BUILD_TYPE ?= RelWithDebInfo
DEBIAN_PACKAGES := cmake ninja-build g++ pkg-config \
	qt6-base-dev qt6-qpa-plugins libxkbcommon-dev fonts-dejavu-core libhwy-dev libtbb-dev \
	libgtest-dev libgmock-dev libbenchmark-dev \
	libavformat-dev libavcodec-dev libswscale-dev libavutil-dev ffmpeg \
	xvfb xauth xdotool imagemagick

.PHONY: all deps configure build run test bench clean

all: build

deps:
	@missing=$$(for p in $(DEBIAN_PACKAGES); do \
	    dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null | grep -q '^install ok installed' || echo $$p; \
	  done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing Debian packages:" $$missing; \
	  if [ "$$(id -u)" -eq 0 ]; then sudo=; else sudo=sudo; fi; \
	  $$sudo apt-get update -qq && \
	  DEBIAN_FRONTEND=noninteractive $$sudo apt-get install -y -qq --no-install-recommends $$missing; \
	fi

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DGLIMMERSCAPE_WERROR=ON

configure: deps $(BUILD)/build.ninja

build: configure
	cmake --build $(BUILD)

run: build
	$(BUILD)/src/app/glimmerscape

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j 2

bench: build
	@for b in $(BUILD)/bench/bench_*; do echo "== $$b"; $$b; done

clean:
	rm -rf $(BUILD)
