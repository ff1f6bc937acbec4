# Front door of the build: set-up, configure, build and run, over CMake and Ninja.
#   make demo     build and run the main job
#   make test     build and run every test
#   make asan     the same tests under AddressSanitizer and UndefinedBehaviorSanitizer
#   make bench    build the benchmarks in release mode and run them
#   make install PREFIX=/some/where
# CXX=clang++ make test builds with clang; each compiler gets its own build tree.

CXX ?= g++
PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
COMPILER := $(notdir $(CXX))
BUILD := build/$(COMPILER)
BUILD_ASAN := build/$(COMPILER)-asan
BUILD_BENCH := build/$(COMPILER)-bench
CMAKE_FLAGS := -G Ninja -DCMAKE_CXX_COMPILER=$(CXX)

.PHONY: all deps demo test asan bench install clean format

all: $(BUILD)/build.ninja
	cmake --build $(BUILD)

deps:
	@scripts/install-deps.sh

$(BUILD)/build.ninja: | deps
	cmake -S . -B $(BUILD) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(BUILD_ASAN)/build.ninja: | deps
	cmake -S . -B $(BUILD_ASAN) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Debug -DKIV_SANITIZE=ON -DKIV_BUILD_BENCH=OFF

$(BUILD_BENCH)/build.ninja: | deps
	cmake -S . -B $(BUILD_BENCH) $(CMAKE_FLAGS) -DCMAKE_BUILD_TYPE=Release -DKIV_BUILD_TESTS=OFF

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

bench: $(BUILD_BENCH)/build.ninja
	cmake --build $(BUILD_BENCH)
	cmake --build $(BUILD_BENCH) --target run_bench

install: $(BUILD)/build.ninja
	cmake --build $(BUILD)
	cmake --install $(BUILD) --prefix $(PREFIX)

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

clean:
	rm -rf build
