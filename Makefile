# Thin wrapper over CMake.  Every target first installs what is missing
# (scripts/setup.sh), then configures and builds in its own directory.
#
#   make demo       build the plexa tool and run `plexa demo`
#   make test       build everything and run the whole test suite
#   make sanitize   the test suite built with AddressSanitizer and UBSan
#   make tsan       the tests that run the library from several threads, built
#                   with ThreadSanitizer
#   make fuzz       every fuzz target (clang, libFuzzer) for FUZZ_SECONDS each
#   make bench      the benchmarks, in an optimised build (BENCH_ARGS=... for filters),
#                   then the Python module's overhead (bench/python_overhead.py)
#   make install PREFIX=/opt/plexa

BUILD ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
BENCH_BUILD ?= build-rel
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 30
PREFIX ?= /usr/local
JOBS ?= 2
CMAKE_ARGS ?=
PYTHON ?= /usr/bin/python3
BENCH_ARGS ?= --benchmark_repetitions=1

# ccache (picked up by CMake when present) shares hits between checkouts.
export CCACHE_BASEDIR ?= $(abspath $(CURDIR)/..)

.PHONY: all setup build demo test sanitize tsan fuzz bench install clean

# $(call quietly,FOLDER,STEP,COMMAND): runs COMMAND with its output in
# FOLDER/STEP.log, which is shown only when the command fails, so that
# `make demo` and `make test` print what a user reads and not the build's
# progress.
quietly = mkdir -p $(1) && if ! $(3) > $(1)/$(2).log 2>&1; then \
  tail -n 60 $(1)/$(2).log; echo "make: $(2) failed (the whole log: $(1)/$(2).log)" >&2; exit 1; fi

all: build

setup:
	@bash scripts/setup.sh

build: setup
	cmake -S . -B $(BUILD) $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS)

demo: setup
	@echo "building the plexa tool in $(BUILD)/ (log: $(BUILD)/build.log)"
	@$(call quietly,$(BUILD),configure,cmake -S . -B $(BUILD) $(CMAKE_ARGS))
	@$(call quietly,$(BUILD),build,cmake --build $(BUILD) -j$(JOBS) --target plexa)
	@$(BUILD)/cli/plexa demo

# The summary of the test run, and the output of the tests that failed.
test: setup
	@echo "building the library, the tool and the tests in $(BUILD)/ (log: $(BUILD)/build.log)"
	@$(call quietly,$(BUILD),configure,cmake -S . -B $(BUILD) $(CMAKE_ARGS))
	@$(call quietly,$(BUILD),build,cmake --build $(BUILD) -j$(JOBS))
	@echo "running the tests (log: $(BUILD)/test.log)"
	@$(call quietly,$(BUILD),test,ctest --test-dir $(BUILD) -j$(JOBS) --output-on-failure)
	@grep -E '^[0-9]+% tests passed|^Total Test time' $(BUILD)/test.log

sanitize: setup
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DPLEXA_SANITIZE=ON $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 \
	UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(ASAN_BUILD) -j$(JOBS) --output-on-failure

tsan: setup
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLEXA_THREAD_SANITIZE=ON $(CMAKE_ARGS)
	cmake --build $(TSAN_BUILD) -j$(JOBS)
	TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest --test-dir $(TSAN_BUILD) -j$(JOBS) --output-on-failure -R 'Thread|Concurren'

fuzz: setup
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_CXX_COMPILER=clang++ -DPLEXA_BUILD_FUZZ=ON -DPLEXA_BUILD_TESTS=OFF \
	  -DPLEXA_BUILD_CLI=OFF -DPLEXA_INSTALL=OFF -DPLEXA_WITH_MPI=OFF $(CMAKE_ARGS)
	cmake --build $(FUZZ_BUILD) -j$(JOBS)
	bash fuzz/run $(FUZZ_BUILD) $(FUZZ_SECONDS)

bench: setup
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DPLEXA_BUILD_BENCH=ON \
	  -DPLEXA_BUILD_TESTS=OFF -DPLEXA_BUILD_CLI=OFF $(CMAKE_ARGS)
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	@set -e; for b in $(BENCH_BUILD)/bench/*_bench; do \
	  [ -x "$$b" ] || continue; echo "== $$b"; "$$b" $(BENCH_ARGS); done
	@set -e; if ls $(BENCH_BUILD)/bench/plexa_bench_timer*.so >/dev/null 2>&1; then \
	  echo "== bench/python_overhead.py"; \
	  PYTHONPATH=$(BENCH_BUILD)/python:$(BENCH_BUILD)/bench $(PYTHON) bench/python_overhead.py; fi

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD)
