# Quick start: `make demo` builds everything and prints the tree of the sample
# document; `make test` builds everything and runs the whole test suite. Both
# first install what the build needs (as root) or say what to install.

BUILD ?= build
BUILD_TYPE ?= Release
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all demo test build configure setup clean

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
