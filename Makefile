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
