# Everything a fresh Debian 12 machine needs: `make demo`, `make test`.
SHELL := /bin/bash
JOBS ?= $(shell nproc)
CMAKE_GEN := -G Ninja
BUILD := build
ASAN_BUILD := build-asan
WIN_BUILD := build-win
WIN_HOST_BUILD := build-win-host
BENCH_BUILD := build-bench
INSTALL_BUILD := build-install
FUZZ_BUILD := build-fuzz
# make fuzz: seconds each fuzz target runs; make test gives each a fixed short time.
FUZZ_SECONDS ?= 600
FUZZ_TEST_SECONDS := 30
DEMO_DIR ?= demo-output
DIST := dist

PACKAGES := cmake ninja-build g++ make pkg-config python3 \
	libgtest-dev libgmock-dev libbenchmark-dev \
	g++-mingw-w64-x86-64 binutils-mingw-w64-x86-64 wine64 \
	libavformat-dev libavcodec-dev libavfilter-dev libswscale-dev libswresample-dev libavutil-dev ffmpeg \
	clang libclang-rt-dev

.PHONY: all deps build install-build test test-native test-asan test-install test-wine test-fuzz fuzz fuzz-build \
	win demo bench install clean

all: build

deps:
	@bash cmake/install-deps.sh $(PACKAGES)

build: deps
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD) -j $(JOBS)

test-native: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# make install into a scratch folder, and the installed tessen run from elsewhere.
test-install: install-build
	bash cmake/check-install.sh $(INSTALL_BUILD)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSEN_SANITIZE=ON
	cmake --build $(ASAN_BUILD) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
		ctest --test-dir $(ASAN_BUILD) --output-on-failure -j $(JOBS)

win: deps
	cmake -S . -B $(WIN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
		-DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DTESSEN_TESTS=OFF -DTESSEN_TOOLS=OFF
	cmake --build $(WIN_BUILD) -j $(JOBS)
	bash cmake/check-windows-module.sh $(WIN_BUILD)/TessenPlus.aex
	bash cmake/make-dist.sh $(WIN_BUILD) $(DIST)

# The Windows module loaded and run as Windows does (under Wine), its output
# compared byte for byte with the Linux module's.
test-wine: win build
	cmake -S . -B $(WIN_HOST_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release \
		-DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64-posix.cmake -DTESSEN_TESTS=OFF -DTESSEN_TOOLS=ON
	cmake --build $(WIN_HOST_BUILD) --target headless_render -j $(JOBS)
	bash cmake/check-wine.sh $(BUILD) $(WIN_BUILD) $(WIN_HOST_BUILD)

# The fuzz targets (tests/fuzz): clang with libFuzzer and the address and
# undefined-behaviour sanitizers, the effect linked in or loaded as a module.
fuzz-build: deps
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSEN_FUZZ=ON \
		-DTESSEN_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target fuzz_host_legal fuzz_host_hostile fuzz_media_input TessenPlus

# Every target over its corpus, then a short fixed time each.
test-fuzz: fuzz-build
	bash cmake/run-fuzz.sh $(FUZZ_BUILD) $(FUZZ_TEST_SECONDS)

# As long as asked: make fuzz FUZZ_SECONDS=3600 (per target).
fuzz: fuzz-build
	bash cmake/run-fuzz.sh $(FUZZ_BUILD) $(FUZZ_SECONDS)

# The Windows cross-build runs first: it is quick and catches Linux-only code.
test: win test-native test-install test-wine test-asan test-fuzz

PREFIX ?= /usr/local

# tessen in PREFIX/bin, the effect module in PREFIX/lib/tessen (DESTDIR is honoured).
# Only what is installed is built, in a folder of its own without the tests.
install-build: deps
	cmake -S . -B $(INSTALL_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSEN_TESTS=OFF
	cmake --build $(INSTALL_BUILD) -j $(JOBS) --target tessen TessenPlus

install: install-build
	cmake --install $(INSTALL_BUILD) --prefix $(PREFIX) --strip

demo: build
	$(BUILD)/cli/tessen demo $(DEMO_DIR)

bench: deps
	cmake -S . -B $(BENCH_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTESSEN_BENCH=ON -DTESSEN_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	$(BENCH_BUILD)/bench/tessen_bench --benchmark_min_time=0.2

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(WIN_BUILD) $(WIN_HOST_BUILD) $(BENCH_BUILD) $(INSTALL_BUILD) $(FUZZ_BUILD) $(DIST)
