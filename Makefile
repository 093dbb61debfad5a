# The two set-up commands of a fresh machine are `make demo` and `make test`.
BUILD_DIR ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
VST_PATH ?= $(HOME)/.vst

.PHONY: all deps configure build test bench demo tables art install clean fuzz tsan

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

# Sanitizer builds, each in a folder of its own and of only the targets it needs.
# `make fuzz`: the document and WAV fuzz targets (clang's libFuzzer, with the address and
# undefined-behaviour sanitizers), each run for FUZZ_SECONDS from seeds made of examples/.
FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60
SANITIZER_FLAGS = -fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer

fuzz: deps
	cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS="$(SANITIZER_FLAGS)" -DTORVANE_FUZZ=ON
	cmake --build $(FUZZ_DIR) -j$(JOBS) --target DocumentFuzzer WavFuzzer
	./scripts/fuzz.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

# `make tsan`: the plug-in and its tests under ThreadSanitizer; runs the tests in which host
# threads write parameters, read names, change rates and fail while the audio runs.
TSAN_DIR ?= build-tsan

tsan: deps
	cmake -S . -B $(TSAN_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS=-fsanitize=thread
	cmake --build $(TSAN_DIR) -j$(JOBS) --target plugin_tests
	TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1" \
	  $(TSAN_DIR)/tests/plugin_tests --gtest_filter='*Threads*' --gtest_repeat=5

clean:
	rm -rf $(BUILD_DIR) $(FUZZ_DIR) $(TSAN_DIR)
