# Entry points. `make test` and `make demo` install missing Debian packages
# first (apt-get, with sudo when not root), so a fresh machine needs nothing
# by hand.
BUILD    ?= build
JOBS     ?= $(shell nproc)
GENERATOR = Ninja
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

# Packages the build, the tests and the benchmarks need.
PACKAGES = cmake ninja-build g++ make python3 ccache pkg-config \
           libgtest-dev libgmock-dev libpcre2-dev \
           libpng-dev libjpeg-dev libtiff-dev zlib1g-dev
# Only the benchmarks compare against OpenCV.
BENCH_PACKAGES = libbenchmark-dev libopencv-imgproc-dev

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps bench-deps install-packages build test demo bench install clean

all: build

deps:
	@$(MAKE) --no-print-directory install-packages PKGS="$(PACKAGES)"

bench-deps:
	@$(MAKE) --no-print-directory install-packages PKGS="$(PACKAGES) $(BENCH_PACKAGES)"

install-packages:
	@missing=""; \
	for p in $(PKGS); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get update -q && \
	  $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $$missing; \
	fi

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) -G $(GENERATOR) $(CMAKE_FLAGS)

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j$(JOBS)

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j$(JOBS)

demo: build
	$(BUILD)/examples/first_steps

bench: bench-deps
	cmake -S . -B $(BUILD)-bench -G $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DVEXA_BUILD_BENCH=ON -DVEXA_BUILD_TESTS=OFF
	cmake --build $(BUILD)-bench -j$(JOBS)
	@for b in $(BUILD)-bench/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(BUILD)-bench
