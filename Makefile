# The two set-up commands of a fresh machine are `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
VST_PATH ?= $(HOME)/.vst

.PHONY: all deps configure build test bench demo tables install clean

all: build

deps:
	./scripts/install-deps.sh

configure: deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release

build: configure
	cmake --build $(BUILD_DIR) -j$(JOBS)

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j$(JOBS)

bench: build
	$(BUILD_DIR)/nodara_bench

demo: build
	./scripts/demo.sh $(BUILD_DIR)

# Rebuilds the committed data in amp/data/, one line per generator.
tables: configure
	cmake --build $(BUILD_DIR) --target cabinetresponse -j$(JOBS) && $(BUILD_DIR)/generators/cabinetresponse amp/data

clean:
	rm -rf $(BUILD_DIR)
