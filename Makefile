# Two commands on a fresh Debian 12 machine:
#   make run   installs what is missing, builds, and opens the Glimmerscape window
#   make test  installs what is missing, builds, and runs every test
BUILD ?= build
BUILD_TYPE ?= RelWithDebInfo
DEBIAN_PACKAGES := cmake ninja-build g++ pkg-config \
	qt6-base-dev qt6-qpa-plugins qt6-image-formats-plugins libxkbcommon-dev fonts-dejavu-core libhwy-dev libtbb-dev \
	libgtest-dev libgmock-dev libbenchmark-dev \
	xvfb xauth xdotool imagemagick openssl python3 \
	desktop-file-utils appstream xdg-utils \
	libfftw3-dev qt6-multimedia-dev libpulse-dev pulseaudio pulseaudio-utils sox locales \
	libavformat-dev libavcodec-dev libavutil-dev ffmpeg libssl-dev

# The fuzz targets (fuzz/README.md) build with clang in their own directory.
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 1800
FUZZ_INPUTS ?= -1
FUZZ_DEBIAN_PACKAGES := clang libclang-rt-14-dev

.PHONY: all deps configure build run test bench clean fuzz-build fuzz fuzz-smoke

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
	@# The status texts are tested under a comma-decimal locale.
	@locale -a 2>/dev/null | grep -qix 'de_DE.utf-\?8' || { \
	  echo "Generating the de_DE.UTF-8 locale"; \
	  if [ "$$(id -u)" -eq 0 ]; then sudo=; else sudo=sudo; fi; \
	  $$sudo sed -i 's/^# *\(de_DE.UTF-8 UTF-8\)/\1/' /etc/locale.gen && \
	  { grep -qx 'de_DE.UTF-8 UTF-8' /etc/locale.gen || \
	    echo 'de_DE.UTF-8 UTF-8' | $$sudo tee -a /etc/locale.gen >/dev/null; } && \
	  $$sudo locale-gen >/dev/null; }

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

fuzz-build:
	@$(MAKE) --no-print-directory deps DEBIAN_PACKAGES="$(DEBIAN_PACKAGES) $(FUZZ_DEBIAN_PACKAGES)"
	@if command -v clang++ >/dev/null; then \
	  cmake -S . -B $(FUZZ_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
	    -DGLIMMERSCAPE_FUZZ=ON -DGLIMMERSCAPE_BUILD_TESTS=OFF -DGLIMMERSCAPE_BUILD_BENCH=OFF && \
	  cmake --build $(FUZZ_BUILD) --target fuzz_targets -j 2; \
	else echo "clang++ not found: the fuzz targets are not built"; fi

fuzz: fuzz-build
	fuzz/run.sh $(FUZZ_BUILD) $(FUZZ_SECONDS) $(FUZZ_INPUTS)

fuzz-smoke: fuzz-build
	fuzz/run.sh $(FUZZ_BUILD) 30

# The builds of CMakePresets.json, each in its own folder (release shares build/ with `make test`):
# each target configures, builds and runs that preset's tests. asan runs the whole suite under
# AddressSanitizer and UndefinedBehaviorSanitizer, tsan the threaded engine's suites under
# ThreadSanitizer (tools/sanitizers/ holds their suppressions).
.PHONY: dev release asan tsan
dev release asan tsan: deps
	@preset=$$(case $@ in asan) echo asan-ubsan;; *) echo $@;; esac); \
	cmake --preset $$preset && cmake --build --preset $$preset && ctest --preset $$preset

clean:
	rm -rf $(BUILD) $(FUZZ_BUILD) build-dev build-asan build-tsan

.PHONY: icons register-scheme unregister-scheme

# Renders the PNG icons again from the SVG (after changing it; commit the PNGs).
icons:
	@$(MAKE) --no-print-directory deps DEBIAN_PACKAGES=librsvg2-bin
	data/icons/render-pngs.sh

# Makes glimmerscape:// links open the built program for the current user, without installing.
register-scheme: build
	data/register-scheme.sh $(BUILD)/src/app/glimmerscape

unregister-scheme:
	data/register-scheme.sh --remove
