# Quick start: `make demo` builds everything and prints the tree of the sample
# document; `make test` builds everything and runs the whole test suite. Both
# first install what the build needs (as root) or say what to install.

BUILD ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all demo test build configure setup clean windows test-windows setup-windows

all: build

setup:
	@bash scripts/setup.sh

configure: setup
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

demo: build
	./$(BUILD)/domparse examples/sample.html

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The Debian package of all that `cmake --install` installs, built first:
# $(BUILD)/domparse_<version>_<architecture>.deb (cmake/packaging.cmake).
.PHONY: package
package: build
	cmake --build $(BUILD) --target package

clean:
	rm -rf $(BUILD)

# The Windows build: domparse.dll, domparse.exe and the test programs, cross-
# built with mingw-w64 into $(WIN_BUILD). `make test-windows` also builds the
# Linux library with the image comparison's programs into $(LINUX_BUILD), and
# runs every Windows suite under Wine, then the image comparison. Both first
# install what is missing (mingw-w64, Wine) as root, or say what to install.
WIN_BUILD ?= build-win
LINUX_BUILD ?= $(BUILD)
WINDOWS_TOOLCHAIN = cmake/mingw-w64-x86_64.cmake

setup-windows:
	@bash scripts/setup-windows.sh

windows: setup-windows
	cmake -S . -B $(WIN_BUILD) -DCMAKE_TOOLCHAIN_FILE=$(WINDOWS_TOOLCHAIN) \
	  -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DDOMPARSE_LINUX_BUILD_DIR=$(abspath $(LINUX_BUILD))
	cmake --build $(WIN_BUILD) -j $(JOBS)

test-windows: setup windows
	cmake -S . -B $(LINUX_BUILD) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE)
	cmake --build $(LINUX_BUILD) -j $(JOBS) --target domparse domparse_image_dump domparse_compare
	ctest --test-dir $(WIN_BUILD) --output-on-failure -j $(JOBS) -E linux_windows_images
	# The comparison last, with its report shown.
	ctest --test-dir $(WIN_BUILD) --output-on-failure --verbose -R linux_windows_images

# The benchmark (bench/): DOM_Parse side by side with gumbo and libxml2's HTML
# parser over a corpus folder, the stages of a parse on their own, scaling,
# deep nesting, a large document and memory. It is built in a folder of its
# own, with the peers' packages that scripts/setup-bench.sh installs as root
# (or says what to install), so that the library's build never needs them.
# `make bench CORPUS=DIR BENCH_ARGS="--seconds 5"` changes the inputs and the
# time per measurement; `make bench-smoke` runs everything once on the two
# small documents of bench/smoke. `make bench-images` checks that the images
# of the corpus are byte for byte those of bench/corpus_image_hashes.txt.
BENCH_BUILD ?= build-bench
CORPUS ?= ../shared/corpus
BENCH_ARGS ?=

.PHONY: bench bench-smoke bench-build bench-images setup-bench

setup-bench: setup
	@bash scripts/setup-bench.sh

bench-build: setup-bench
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DDOMPARSE_BUILD_BENCH=ON \
	  -DDOMPARSE_BUILD_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target domparse_bench domparse_image_hashes

bench: bench-build
	./$(BENCH_BUILD)/domparse_bench --corpus $(CORPUS) $(BENCH_ARGS)

bench-smoke: bench-build
	./$(BENCH_BUILD)/domparse_bench --smoke --corpus bench/smoke

bench-images: bench-build
	./$(BENCH_BUILD)/domparse_image_hashes --corpus $(CORPUS) --check bench/corpus_image_hashes.txt

# Sanitizers and fuzzing, with clang (scripts/setup-sanitize.sh installs clang,
# its sanitizer and libFuzzer runtimes and llvm as root, or says what to
# install). Each has a build folder of its own.
# - `make test-sanitize` builds everything with ASan and UBSan and runs the
#   whole suite (the tests that cannot run under a sanitizer are listed in
#   tests/sanitizer_exclusions.cmake; stress sizes are scaled down), then the
#   concurrency test under ThreadSanitizer (`make test-tsan`).
# - `make fuzz FUZZ_SECONDS=N` builds the libFuzzer targets of fuzz/ and runs
#   each for N seconds (fuzz/run.sh).
SANITIZE_BUILD ?= build-sanitize
TSAN_BUILD ?= build-tsan
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60
# Optional: FUZZ_TARGETS (names, default all four), FUZZ_RUNS (executions per
# target, with FUZZ_SECONDS=0 for no time limit) and FUZZ_MAX_LEN (bytes).
FUZZ_TARGETS ?=
FUZZ_RUNS ?=
FUZZ_MAX_LEN ?=
CLANG = -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
# Every finding ends its test with a report; leaks are findings too. An
# allocation beyond what ASan's allocator serves fails as malloc and calloc
# promise (the block functions' tests ask for impossible sizes).
SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:check_initialization_order=1:strict_init_order=1 \
  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1

.PHONY: setup-sanitize test-sanitize test-tsan fuzz

setup-sanitize: setup
	@bash scripts/setup-sanitize.sh

test-sanitize: setup-sanitize
	cmake -S . -B $(SANITIZE_BUILD) $(CLANG) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
	  -DDOMPARSE_SANITIZE=address,undefined
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	$(SANITIZER_ENV) ctest --test-dir $(SANITIZE_BUILD) --output-on-failure -j $(JOBS)
	$(MAKE) test-tsan

test-tsan: setup-sanitize
	cmake -S . -B $(TSAN_BUILD) $(CLANG) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DDOMPARSE_SANITIZE=thread
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target concurrency_tests
	$(SANITIZER_ENV) $(TSAN_BUILD)/tests/concurrency_tests

fuzz: setup-sanitize
	cmake -S . -B $(FUZZ_BUILD) $(CLANG) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DDOMPARSE_FUZZ=ON \
	  -DDOMPARSE_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target domparse_fuzz_targets
	$(SANITIZER_ENV) FUZZ_RUNS=$(FUZZ_RUNS) FUZZ_MAX_LEN=$(FUZZ_MAX_LEN) \
	  bash fuzz/run.sh $(FUZZ_BUILD) $(FUZZ_SECONDS) $(FUZZ_TARGETS)
