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
	ctest --test-dir $(WIN_BUILD) --output-on-failure -j $(JOBS)
