# Set-up commands. Each installs the missing Debian packages first, then
# configures and builds with CMake.
#   make demo            build and run the demo program
#   make test            build everything and run the test suite
#   make test-sanitize   the test suite under AddressSanitizer + UBSan

JOBS ?= $(shell nproc 2>/dev/null || echo 2)
BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize

.PHONY: all deps demo test test-sanitize clean

all: test

deps:
	scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

demo: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) --target ImageLib_demo -j $(JOBS)
	$(BUILD_DIR)/examples/ImageLib_demo

test: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j $(JOBS)
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

test-sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DIMAGELIB_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=1 \
	UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR)
