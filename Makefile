# Set-up commands. Each installs the missing Debian packages first, then
# configures and builds with CMake.
#   make demo            build and run the demo program
#   make test            build everything and run the test suite
#   make test-sanitize   the test suite under AddressSanitizer + UBSan

JOBS ?= $(shell nproc 2>/dev/null || echo 2)
BUILD_DIR ?= build
SANITIZE_DIR ?= build-sanitize

FUZZ_DIR ?= build-fuzz
FUZZ_SECONDS ?= 60

BENCH_DIR ?= build-bench

.PHONY: all deps demo test test-sanitize fuzz bench clean

all: test

deps:
	scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt:
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

demo: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) --target imagelib-demo -j $(JOBS)
	$(BUILD_DIR)/examples/imagelib-demo --input examples/data/sample16.tif \
	  --bmp demo-output/rendering.bmp --tiff demo-output/samples.tif

test: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j $(JOBS)
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

test-sanitize: deps
	cmake -S . -B $(SANITIZE_DIR) -DCMAKE_BUILD_TYPE=Debug -DIMAGELIB_SANITIZE=ON
	cmake --build $(SANITIZE_DIR) -j $(JOBS)
	ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:abort_on_error=1 \
	UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	ctest --test-dir $(SANITIZE_DIR) --output-on-failure -j $(JOBS)

# Builds the TIFF loader fuzzer with clang and runs it for FUZZ_SECONDS on a
# seed corpus made by the same tools as the test files. Crashes land in
# $(FUZZ_DIR)/crashes; copy them to fuzz/regressions to replay them in the tests.
fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DIMAGELIB_FUZZ=ON -DBUILD_TESTING=OFF
	cmake --build $(FUZZ_DIR) --target tiff_loader_fuzzer -j $(JOBS)
	tests/tiff/make-tiff-corpus.sh $(FUZZ_DIR)/seeds >/dev/null
	mkdir -p $(FUZZ_DIR)/corpus $(FUZZ_DIR)/crashes
	ASAN_OPTIONS=halt_on_error=1:detect_leaks=1 \
	$(FUZZ_DIR)/fuzz/tiff_loader_fuzzer -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -rss_limit_mb=2048 \
	  -artifact_prefix=$(FUZZ_DIR)/crashes/ -print_final_stats=1 $(FUZZ_DIR)/corpus $(FUZZ_DIR)/seeds

# Benchmarks in Release against OpenCV and memcpy, then one comparison table.
bench:
	scripts/install-deps.sh libbenchmark-dev libopencv-dev python3
	cmake -S . -B $(BENCH_DIR) -DCMAKE_BUILD_TYPE=Release -DIMAGELIB_BENCH=ON -DBUILD_TESTING=OFF
	cmake --build $(BENCH_DIR) --target imagelib_bench -j $(JOBS)
	$(BENCH_DIR)/bench/imagelib_bench --benchmark_out=$(BENCH_DIR)/bench.json --benchmark_out_format=json \
	  $(BENCH_ARGS)
	bench/compare $(BENCH_DIR)/bench.json

clean:
	rm -rf $(BUILD_DIR) $(SANITIZE_DIR) $(FUZZ_DIR) $(BENCH_DIR)
