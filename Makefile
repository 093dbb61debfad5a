# The two set-up commands of a fresh machine are `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
VST_PATH ?= $(HOME)/.vst

.PHONY: all deps configure build test bench demo tables art install clean

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

install: build
	VST_PATH="$(VST_PATH)" ./scripts/install-plugin.sh $(BUILD_DIR)

# The data generators of tools/generators/: each is run as `GENERATOR OUTPUT_DIR` and writes
# the tables that are committed in $(TABLES_DIR) and compiled into the plug-in.
GENERATORS ?= tubetables cabinetresponse
TABLES_DIR ?= amp/data

tables: configure
	cmake --build $(BUILD_DIR) --target $(GENERATORS) -j$(JOBS)
	for generator in $(GENERATORS); do $(BUILD_DIR)/generators/$$generator $(TABLES_DIR) || exit 1; done

# The panel's pictures, drawn by tools/generators/panelart into $(ART_DIR), committed and
# compiled into the plug-in.
ART_DIR ?= editor/art

art: configure
	cmake --build $(BUILD_DIR) --target panelart -j$(JOBS)
	$(BUILD_DIR)/generators/panelart $(ART_DIR)

clean:
	rm -rf $(BUILD_DIR)
