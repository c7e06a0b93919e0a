# Thin wrapper over CMake.  Every target first installs what is missing
# (scripts/setup.sh), then configures and builds in its own directory.
#
#   make demo       build the plexa tool and run `plexa demo`
#   make test       build everything and run the whole test suite
#   make sanitize   the test suite built with AddressSanitizer and UBSan
#   make bench      the benchmarks, in an optimised build
#   make install PREFIX=/opt/plexa

BUILD ?= build
ASAN_BUILD ?= build-asan
BENCH_BUILD ?= build-rel
PREFIX ?= /usr/local
JOBS ?= 2
CMAKE_ARGS ?=

# ccache (picked up by CMake when present) shares hits between checkouts.
export CCACHE_BASEDIR ?= $(abspath $(CURDIR)/..)

.PHONY: all setup build demo test sanitize bench install clean

all: build

setup:
	@bash scripts/setup.sh

build: setup
	cmake -S . -B $(BUILD) $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS)

demo: setup
	cmake -S . -B $(BUILD) $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS) --target plexa
	$(BUILD)/cli/plexa demo

test: build
	ctest --test-dir $(BUILD) -j$(JOBS) --output-on-failure

sanitize: setup
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DPLEXA_SANITIZE=ON $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(ASAN_BUILD) -j$(JOBS) --output-on-failure

bench: setup
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DPLEXA_BUILD_BENCH=ON \
	  -DPLEXA_BUILD_TESTS=OFF -DPLEXA_BUILD_CLI=OFF $(CMAKE_ARGS)
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	@set -e; for b in $(BENCH_BUILD)/bench/*_bench; do \
	  [ -x "$$b" ] || continue; echo "== $$b"; "$$b" --benchmark_repetitions=1; done

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(BENCH_BUILD)
