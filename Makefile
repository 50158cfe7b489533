# The front door. Every target is a line or two over the CMake presets.
.PHONY: install-deps demo example-netlist test bench asan coverage fuzz lint format format-check layers clean

install-deps:
	@scripts/install-deps

build/%/build.ninja: CMakePresets.json
	@cmake --preset $* >/dev/null

demo: install-deps build/release/build.ninja
	@cmake --build --preset release --target nyx_command
	@examples/demo.sh $(CURDIR)/build/release/tools/cpp/cmd/nyx $(CURDIR)

# Synthesises the example's netlist anew, which `make demo` starts from.
example-netlist: install-deps
	cd examples/soc && yosys -q synth.ys && zstd -q -19 --rm -f soc.json -o soc.json.zst

test: install-deps build/release/build.ninja
	cmake --build --preset release
	cmake --build --preset release --target all_verify_interface_header_sets
	ctest --preset release

bench: install-deps build/release/build.ninja
	cmake --build --preset release
	@scripts/run-benchmarks build/release $(BENCH_ARGS)

asan: install-deps build/asan/build.ninja
	cmake --build --preset asan
	ctest --preset asan

coverage: install-deps build/coverage/build.ninja
	cmake --build --preset coverage
	ctest --preset coverage
	@scripts/report-coverage build/coverage

fuzz: install-deps build/fuzz/build.ninja
	cmake --build --preset fuzz
	@scripts/run-fuzzers build/fuzz $(FUZZ_SECONDS)

lint: install-deps build/clang/build.ninja
	@scripts/lint build/clang

format: install-deps
	@scripts/format --write

format-check: install-deps
	@scripts/format --check

layers: install-deps
	@scripts/check-layers

clean:
	rm -rf build
