# make test : install missing Debian packages; build Release, Release without
#             vector kernels, and sanitizer builds; run every test in each;
#             fails on any failure or report.
# make bench: build the speed suite (Release) and run it, writing the tables
#             and targets into docs/benchmarks.md: every kernel once, the
#             whole frames in BENCH_ROUNDS rounds (medians and spreads).
# make test-aarch64: cross-build for AArch64 (NEON kernels) and run the whole
#             test suite under qemu-user.
# make demo : build everything, then render out/demo.png and out/demo.y4m
#             with tools/title (flower-title): multilingual text over the
#             built-in sample picture.

JOBS ?= $(shell nproc)
BENCH_ROUNDS ?= 5
DEB_PACKAGES := cmake make g++ clang libclang-rt-14-dev pkg-config \
                libgtest-dev libgmock-dev libbenchmark-dev \
                libpng-dev libfreetype-dev libpixman-1-dev \
                libharfbuzz-dev libfribidi-dev libraqm-dev libfontconfig-dev libunibreak-dev \
                fontconfig fonts-dejavu-core fonts-noto-core fonts-wqy-microhei fonts-noto-color-emoji \
                python3-numpy python3-pytest python3-venv python3-wheel ffmpeg \
                googletest g++-aarch64-linux-gnu qemu-user \
                libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools \
                gstreamer1.0-plugins-base gstreamer1.0-plugins-good \
                python3-gi gir1.2-gstreamer-1.0
CMAKE_COMMON := -DFLOWER_WERROR=ON
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

# Sanitizer reports must fail the run, never just print.
export ASAN_OPTIONS := detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS := print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS := halt_on_error=1:second_deadlock_stack=1

.PHONY: all deps build test test-release test-scalar test-sanitize test-thread test-aarch64 format clean demo fuzz bench

all: build

deps:
	@missing=""; \
	for p in $(DEB_PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing Debian packages:$$missing"; \
	  $(SUDO) apt-get update && \
	  DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y --no-install-recommends $$missing; \
	fi

build/release/CMakeCache.txt: | deps
	cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release $(CMAKE_COMMON)

build/sanitize/CMakeCache.txt: | deps
	CC=clang CXX=clang++ cmake -S . -B build/sanitize -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DFLOWER_SANITIZE=address,undefined $(CMAKE_COMMON)

build/scalar/CMakeCache.txt: | deps
	cmake -S . -B build/scalar -DCMAKE_BUILD_TYPE=Release -DFLOWER_VECTOR_KERNELS=OFF \
	  -DFLOWER_BUILD_BENCH=OFF $(CMAKE_COMMON)

build/thread/CMakeCache.txt: | deps
	cmake -S . -B build/thread -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DFLOWER_SANITIZE=thread -DFLOWER_BUILD_BENCH=OFF -DFLOWER_BUILD_TOOLS=OFF $(CMAKE_COMMON)

build: build/release/CMakeCache.txt
	cmake --build build/release -j $(JOBS)

test-release: build/release/CMakeCache.txt
	@echo "=== Release build (g++) ==="
	cmake --build build/release -j $(JOBS)
	cd build/release && ctest --output-on-failure -j $(JOBS)

test-sanitize: build/sanitize/CMakeCache.txt
	@echo "=== AddressSanitizer + UndefinedBehaviorSanitizer build (clang) ==="
	cmake --build build/sanitize -j $(JOBS)
	cd build/sanitize && ctest --output-on-failure -j $(JOBS)

test-scalar: build/scalar/CMakeCache.txt
	@echo "=== Release build without vector kernels (g++) ==="
	cmake --build build/scalar -j $(JOBS)
	cd build/scalar && ctest --output-on-failure -j $(JOBS)

test-thread: build/thread/CMakeCache.txt
	@echo "=== ThreadSanitizer build (g++), threading tests ==="
	cmake --build build/thread -j $(JOBS)
	cd build/thread && ctest --output-on-failure -j $(JOBS) -L threads

test: test-release test-scalar test-sanitize test-thread

# AArch64: GoogleTest built from Debian's source with the cross compiler, the
# library and its tests (no tools, no benchmarks: their libraries are x86-64
# here), the sample picture decoded by the native build's decoder.
AARCH64_TOOLCHAIN := $(CURDIR)/cmake/aarch64-linux-gnu.cmake
AARCH64_GTEST := build/aarch64-deps/lib/cmake/GTest/GTestConfig.cmake

$(AARCH64_GTEST): | deps
	cmake -S /usr/src/googletest -B build/aarch64-gtest -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_TOOLCHAIN_FILE=$(AARCH64_TOOLCHAIN) -DCMAKE_INSTALL_PREFIX=$(CURDIR)/build/aarch64-deps
	cmake --build build/aarch64-gtest -j $(JOBS)
	cmake --install build/aarch64-gtest

build/aarch64/CMakeCache.txt: build/release/CMakeCache.txt $(AARCH64_GTEST)
	cmake --build build/release -j $(JOBS) --target flower_decode_picture
	cmake -S . -B build/aarch64 -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE=$(AARCH64_TOOLCHAIN) \
	  -DFLOWER_HOST_DECODE_PICTURE=$(CURDIR)/build/release/flower_decode_picture \
	  -DFLOWER_BUILD_BENCH=OFF -DFLOWER_BUILD_TOOLS=OFF $(CMAKE_COMMON)

test-aarch64: build/aarch64/CMakeCache.txt
	@echo "=== AArch64 cross build (g++), tests under qemu-user ==="
	cmake --build build/aarch64 -j $(JOBS)
	qemu-aarch64 -L /usr/aarch64-linux-gnu build/aarch64/tests/test_kernels --gtest_filter='KernelTables.*'
	@# The packaging checks build and run host programs, Python and ffmpeg against an
	@# installed tree, which an x86-64 host cannot do for an AArch64 library.
	cd build/aarch64 && ctest --output-on-failure -j $(JOBS) -LE install

# Speed suite; rewrites the generated part of docs/benchmarks.md.
bench: build/release/CMakeCache.txt
	cmake --build build/release -j $(JOBS) --target flower_bench_speed
	build/release/bench/speed/flower_bench_speed --markdown=docs/benchmarks.md --rounds=$(BENCH_ROUNDS)

# make fuzz : build the libFuzzer targets under fuzz/ (clang, ASan + UBSan) and
#             run each for FUZZ_SECONDS on a scratch copy of its corpus.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS := api_sequence differential text_layout y4m_reader items_reader

build/fuzz/CMakeCache.txt: | deps
	CC=clang CXX=clang++ cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DFLOWER_SANITIZE=address,undefined -DFLOWER_BUILD_FUZZ=ON -DFLOWER_BUILD_TESTS=OFF \
	  -DFLOWER_BUILD_BENCH=OFF -DFLOWER_BUILD_TOOLS=OFF $(CMAKE_COMMON)

fuzz: build/fuzz/CMakeCache.txt
	cmake --build build/fuzz -j $(JOBS) $(addprefix --target fuzz_,$(FUZZ_TARGETS))
	@for t in $(FUZZ_TARGETS); do \
	  echo "=== fuzz_$$t for $(FUZZ_SECONDS) s ==="; \
	  rm -rf build/fuzz/corpus/$$t && mkdir -p build/fuzz/corpus/$$t && \
	  cp fuzz/corpus/$$t/* build/fuzz/corpus/$$t/ && \
	  build/fuzz/fuzz/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -timeout=10 -rss_limit_mb=2048 \
	    -print_final_stats=1 -artifact_prefix=build/fuzz/ build/fuzz/corpus/$$t || exit 1; \
	done

DEMO_TOOL := build/release/tools/flower-title
DEMO_STYLE := --outline 2 --shadow 3
DEMO_TEXT := --text-file docs/demo-roll.txt \
             --text "$$(printf 'News in every script\nأخبار عاجلة\nמבזק חדשות\n突发新闻\nहिन्दी समाचार')"

demo: build
	mkdir -p out
	$(DEMO_TOOL) still $(DEMO_STYLE) $(DEMO_TEXT) -o out/demo.png
	$(DEMO_TOOL) crawl --with-roll $(DEMO_STYLE) $(DEMO_TEXT) --size 1280x720 --time 4 --seconds 4 -o out/demo.y4m
	@echo "View: ffplay out/demo.y4m   (or mpv out/demo.y4m; see README.md, Title renderer)"

format:
	clang-format -i $$(git ls-files '*.h' '*.cpp')

clean:
	rm -rf build out
