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
           libpng-dev libjpeg-dev libtiff-dev zlib1g-dev \
           libopencv-imgproc-dev libeigen3-dev libzxing-dev libx11-dev xvfb
BENCH_PACKAGES = libbenchmark-dev
# The fuzz targets need clang and its sanitizer and fuzzer runtimes.
FUZZ_PACKAGES = clang libclang-rt-14-dev

# Sanitizer builds. Debug: their compile time, not their speed, bounds a
# run. ASan and UBSan run the whole suite, or only the test programs named
# in SANITIZE_PROGRAMS; ThreadSanitizer runs the tests whose names match
# TSAN_TESTS, building only the test programs that hold such tests. Left
# out of sanitizer runs: install_consumer (its consumer program is built
# without the sanitizer runtimes the installed libraries need) and the
# placeholders of test programs not built.
SANITIZE_BUILD    ?= $(BUILD)-sanitize
SANITIZE_PROGRAMS ?=
SANITIZE_EXCLUDE   = install_consumer|_NOT_BUILT$$
TSAN_BUILD     ?= $(BUILD)-tsan
TSAN_TESTS     ?= Concurr|Thread|Stress
TEST_OPEN      := (
TSAN_PROGRAMS   = $(basename $(notdir $(shell grep -lE 'TEST(_F|_P)?[$(TEST_OPEN)].*($(TSAN_TESTS))' tests/*_test.cpp)))
SANITIZE_FLAGS  = -DCMAKE_BUILD_TYPE=Debug
export ASAN_OPTIONS  ?= detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS ?= halt_on_error=1:print_stacktrace=1
export TSAN_OPTIONS  ?= halt_on_error=1:second_deadlock_stack=1

# Fuzzing: each target of fuzz/ runs FUZZ_SECONDS on its corpus
# (fuzz/corpus/<target>, new finds under $(FUZZ_BUILD)/corpus); any crash,
# hang (FUZZ_TIMEOUT seconds on one input), leak or memory blow-up fails.
FUZZ_BUILD    ?= $(BUILD)-fuzz
FUZZ_SECONDS  ?= 30
FUZZ_TIMEOUT  ?= 10
FUZZ_TARGETS   = read_image read_region deserialize socket_receive tuple_string tuple_regexp convol_text read_dxf

SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps bench-deps fuzz-deps install-packages build test test-sanitize test-tsan \
        demo bench fuzz install clean

all: build

deps:
	@$(MAKE) --no-print-directory install-packages PKGS="$(PACKAGES)"

bench-deps:
	@$(MAKE) --no-print-directory install-packages PKGS="$(PACKAGES) $(BENCH_PACKAGES)"

fuzz-deps:
	@$(MAKE) --no-print-directory install-packages PKGS="$(PACKAGES) $(FUZZ_PACKAGES)"

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

test-sanitize: deps
	cmake -S . -B $(SANITIZE_BUILD) -G $(GENERATOR) $(SANITIZE_FLAGS) -DVEXA_SANITIZE=ON
	cmake --build $(SANITIZE_BUILD) -j$(JOBS) $(addprefix --target ,$(SANITIZE_PROGRAMS))
	ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j$(JOBS) -E '$(SANITIZE_EXCLUDE)'
	@$(MAKE) --no-print-directory test-tsan

test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -G $(GENERATOR) $(SANITIZE_FLAGS) -DVEXA_TSAN=ON
	cmake --build $(TSAN_BUILD) -j$(JOBS) --target $(TSAN_PROGRAMS)
	ctest --test-dir $(TSAN_BUILD) --output-on-failure -j$(JOBS) -R '$(TSAN_TESTS)'

fuzz: fuzz-deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -G $(GENERATOR) -DCMAKE_BUILD_TYPE=None \
	  "-DCMAKE_C_FLAGS=-O1 -gline-tables-only" "-DCMAKE_CXX_FLAGS=-O1 -gline-tables-only" \
	  -DVEXA_FUZZ=ON -DVEXA_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j$(JOBS) $(addprefix --target fuzz_,$(FUZZ_TARGETS))
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p $(FUZZ_BUILD)/corpus/$$t $(FUZZ_BUILD)/artifacts; \
	  echo "== fuzz_$$t for $(FUZZ_SECONDS) s"; \
	  $(FUZZ_BUILD)/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -timeout=$(FUZZ_TIMEOUT) \
	    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix=$(FUZZ_BUILD)/artifacts/$$t- \
	    $(FUZZ_BUILD)/corpus/$$t fuzz/corpus/$$t || exit 1; \
	done

# The inspection demo: prints its table, writes demo-output/input.png and
# demo-output/result.png.
demo: build
	$(BUILD)/examples/inspect demo-output

bench: bench-deps
	cmake -S . -B $(BUILD)-bench -G $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DVEXA_BUILD_BENCH=ON -DVEXA_BUILD_TESTS=OFF
	cmake --build $(BUILD)-bench -j$(JOBS)
	@for b in $(BUILD)-bench/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(BUILD)-bench $(SANITIZE_BUILD) $(TSAN_BUILD) $(FUZZ_BUILD)
