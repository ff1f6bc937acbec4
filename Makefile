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
#   make bench    build the benchmarks in release mode and run them; a comparison whose peer
#                 (inih, GLib, spdlog) is not installed is left out, and the program says so.
#                 The default tree builds no benchmarks.
#   make fuzz     build the libFuzzer targets with clang and run each for FUZZ_SECONDS
#                 (default 15, two at a time); `make fuzz FUZZ_SECONDS=600` is a long run.
#                 New inputs go to build/fuzz/fuzz-runs/, never into fuzz/corpus/.
#   make docs     the API reference (Doxygen, HTML) in build/<compiler>/docs/html; fails on
#                 any Doxygen warning, such as a public member without documentation
#   make install PREFIX=/some/where
#   make uninstall PREFIX=/some/where
#                 remove what `make install` wrote there, and the directories it created
#                 once they are empty (never a file of anyone else's)
#   make package  build the Debian packages libkiv5, libkiv-dev and kiv-tools for /usr
#                 in a release tree of their own (build/<compiler>-package)
# CXX=clang++ make test builds with clang; each compiler gets its own build tree.

CXX ?= g++
PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
COMPILER := $(notdir $(CXX))
BUILD := build/$(COMPILER)
BUILD_ASAN := build/$(COMPILER)-asan
BUILD_TSAN := build/$(COMPILER)-tsan
BUILD_BENCH := build/$(COMPILER)-bench
BUILD_PACKAGE := build/$(COMPILER)-package
BUILD_FUZZ := build/fuzz
FUZZ_CXX ?= clang++
FUZZ_SECONDS ?= 15
FUZZ_JOBS ?= 2
CMAKE_FLAGS := -G Ninja -DCMAKE_CXX_COMPILER=$(CXX)

.PHONY: all deps demo test asan tsan valgrind bench fuzz docs install uninstall package clean \
  format

all: deps-test $(BUILD)/build.ninja
	cmake --build $(BUILD)

# Each target first installs the packages of its own list, and only those
# (scripts/install-deps.sh <target>; silent when nothing is missing), then
# sets up its tree: `make test` never brings in what only `make bench` or
# `make fuzz` needs. Make works through a target's prerequisites in order.
.NOTPARALLEL:
DEPS_TARGETS := demo test asan tsan valgrind fuzz bench docs package install
.PHONY: $(addprefix deps-,$(DEPS_TARGETS))
$(addprefix deps-,$(DEPS_TARGETS)): deps-%:
	@CXX='$(CXX)' scripts/install-deps.sh $*
deps-fuzz: CXX = $(FUZZ_CXX)
deps: deps-test

$(BUILD)/build.ninja:
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(BUILD_ASAN)/build.ninja:
	cmake -S . -B $(BUILD_ASAN) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Debug -DKIV_SANITIZE=ON -DKIV_BUILD_BENCH=OFF

# The ThreadSanitizer tree builds only the programs whose tests it runs.
$(BUILD_TSAN)/build.ninja:
	cmake -S . -B $(BUILD_TSAN) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_TSAN=ON \
	  -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF -DKIV_CONSUMER_TESTS=OFF

$(BUILD_BENCH)/build.ninja:
	cmake -S . -B $(BUILD_BENCH) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DKIV_BUILD_TESTS=OFF \
	  -DKIV_BUILD_BENCH=ON

# The fuzz tree builds only the fuzzing programs (clang only).
$(BUILD_FUZZ)/build.ninja:
	cmake -S . -B $(BUILD_FUZZ) -G Ninja -DCMAKE_CXX_COMPILER=$(FUZZ_CXX) \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKIV_BUILD_FUZZ=ON \
	  -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_BENCH=OFF -DKIV_BUILD_EXAMPLES=OFF

demo: deps-demo $(BUILD)/build.ninja
	cmake --build $(BUILD) --target run_demo

test: deps-test $(BUILD)/build.ninja
	cmake --build $(BUILD)
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS) --timeout 600

asan: deps-asan $(BUILD_ASAN)/build.ninja
	cmake --build $(BUILD_ASAN)
	cd $(BUILD_ASAN) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS) --timeout 900

tsan: deps-tsan $(BUILD_TSAN)/build.ninja
	cmake --build $(BUILD_TSAN) --target kiv_threads_tests
	cd $(BUILD_TSAN) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  ctest -L threads --output-on-failure -j $(JOBS) --timeout 600

valgrind: deps-valgrind $(BUILD)/build.ninja
	cmake --build $(BUILD)
	scripts/run-memcheck.py $(BUILD) $(JOBS)

bench: deps-bench $(BUILD_BENCH)/build.ninja
	cmake --build $(BUILD_BENCH)
	cmake --build $(BUILD_BENCH) --target run_bench

fuzz: deps-fuzz $(BUILD_FUZZ)/build.ninja
	cmake --build $(BUILD_FUZZ) --target kiv_fuzz_targets
	scripts/run-fuzz.sh $(BUILD_FUZZ) $(FUZZ_SECONDS) $(FUZZ_JOBS)

# Configured again so that a tree made before Doxygen was installed gets the
# target. The target prints where index.html is.
docs: deps-docs $(BUILD)/build.ninja
	cmake -S . -B $(BUILD) >/dev/null
	cmake --build $(BUILD) --target docs

install: deps-install $(BUILD)/build.ninja
	cmake --build $(BUILD)
	cmake --install $(BUILD) --prefix $(PREFIX)

uninstall:
	@test -f $(BUILD)/build.ninja || { echo "$(BUILD) does not exist: nothing was installed from it" >&2; exit 1; }
	KIV_UNINSTALL_PREFIX='$(abspath $(PREFIX))' cmake --build $(BUILD) --target uninstall

# The packages install into /usr; the tree builds the library and the tools
# without tests.
$(BUILD_PACKAGE)/build.ninja:
	cmake -S . -B $(BUILD_PACKAGE) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_INSTALL_PREFIX=/usr -DKIV_BUILD_TESTS=OFF -DKIV_BUILD_BENCH=OFF

package: deps-package $(BUILD_PACKAGE)/build.ninja
	cmake --build $(BUILD_PACKAGE) --target package

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

clean:
	rm -rf build
