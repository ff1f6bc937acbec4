# Front door of the build: set-up, configure, build and run, over CMake and Ninja.
#   make demo     build and run the main job
#   make test     build and run every test
#   make asan     the same tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   make tsan     the tests labelled "threads" (independent objects used in several threads at
#                 once) under ThreadSanitizer, in a tree of their own
#   make valgrind every test of the `make test` tree under valgrind's memcheck, one memcheck
#                 process per test program; fails on any memcheck error or definitely lost
#                 block. scripts/run-memcheck.py lists the tests left out (no test program of
#                 the library runs in them), scripts/memcheck.supp the reports caused on purpose.
#   make bench    build the benchmarks in release mode and run them
#   make fuzz     build the libFuzzer targets with clang and run each for FUZZ_SECONDS
#                 (default 15, two at a time); `make fuzz FUZZ_SECONDS=600` is a long run.
#                 New inputs go to build/fuzz/fuzz-runs/, never into fuzz/corpus/.
#   make install PREFIX=/some/where
# CXX=clang++ make test builds with clang; each compiler gets its own build tree.

CXX ?= g++
PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
COMPILER := $(notdir $(CXX))
BUILD := build/$(COMPILER)
BUILD_ASAN := build/$(COMPILER)-asan
BUILD_TSAN := build/$(COMPILER)-tsan
BUILD_BENCH := build/$(COMPILER)-bench
BUILD_FUZZ := build/fuzz
FUZZ_CXX ?= clang++
FUZZ_SECONDS ?= 15
FUZZ_JOBS ?= 2
CMAKE_FLAGS := -G Ninja -DCMAKE_CXX_COMPILER=$(CXX)

.PHONY: all deps demo test asan tsan valgrind bench fuzz install clean format

all: $(BUILD)/build.ninja
	cmake --build $(BUILD)

deps:
	@scripts/install-deps.sh

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(BUILD_ASAN)/build.ninja: | deps
	cmake -S . -B $(BUILD_ASAN) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Debug -DKIV_SANITIZE=ON -DKIV_BUILD_BENCH=OFF

# The ThreadSanitizer tree builds only the programs whose tests it runs.
$(BUILD_TSAN)/build.ninja: | deps
	cmake -S . -B $(BUILD_TSAN) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_TSAN=ON \
	  -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF -DKIV_CONSUMER_TESTS=OFF

$(BUILD_BENCH)/build.ninja: | deps
	cmake -S . -B $(BUILD_BENCH) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DKIV_BUILD_TESTS=OFF

# The fuzz tree builds only the fuzzing programs (clang only).
$(BUILD_FUZZ)/build.ninja: | deps
	cmake -S . -B $(BUILD_FUZZ) -G Ninja -DCMAKE_CXX_COMPILER=$(FUZZ_CXX) \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_BUILD_FUZZ=ON \
	  -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF

demo: $(BUILD)/build.ninja
	cmake --build $(BUILD) --target run_demo

test: $(BUILD)/build.ninja
	cmake --build $(BUILD)
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) --timeout 600

asan: $(BUILD_ASAN)/build.ninja
	cmake --build $(BUILD_ASAN)
	cd $(BUILD_ASAN) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS) --timeout 900

tsan: $(BUILD_TSAN)/build.ninja
	cmake --build $(BUILD_TSAN) --target kiv_threads_tests
	cd $(BUILD_TSAN) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest -L threads --output-on-failure -j $(JOBS) --timeout 600

valgrind: $(BUILD)/build.ninja
	cmake --build $(BUILD)
	scripts/run-memcheck.py $(BUILD) $(JOBS)

bench: $(BUILD_BENCH)/build.ninja
	cmake --build $(BUILD_BENCH)
	cmake --build $(BUILD_BENCH) --target run_bench

fuzz: $(BUILD_FUZZ)/build.ninja
	cmake --build $(BUILD_FUZZ) --target kiv_fuzz_targets
	scripts/run-fuzz.sh $(BUILD_FUZZ) $(FUZZ_SECONDS) $(FUZZ_JOBS)

install: $(BUILD)/build.ninja
	cmake --build $(BUILD)
	cmake --install $(BUILD) --prefix $(PREFIX)

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

clean:
	rm -rf build
