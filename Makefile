# make        builds build/pergonix-yedek
# make test   installs what is missing, builds, runs every test (plain, then under
#             AddressSanitizer+UndefinedBehaviorSanitizer, then a short fuzz run)
# make demo   installs what is missing, builds, runs the main job on the demo suite
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_GEN := -G Ninja
FUZZ_SECONDS ?= 20

.PHONY: all deps build test test-plain test-asan test-fuzz demo format clean

all: build

deps:
	@tools/install-deps.sh

build: deps
	cmake -S . -B build $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build -j $(JOBS) --target pergonix-yedek

test: deps test-plain test-asan test-fuzz

test-plain:
	cmake -S . -B build $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build -j $(JOBS)
	cd build && ctest --output-on-failure -j $(JOBS)

test-asan:
	cmake -S . -B build-asan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DPX_SANITIZE=ON \
	  -DPX_BENCH=OFF -DCMAKE_CXX_FLAGS=-O1 >/dev/null
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 PX_DAMAGE_STRIDE=8 \
	  ctest --output-on-failure -j $(JOBS)

test-fuzz:
	CXX=clang++ cmake -S . -B build-fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DPX_FUZZ=ON -DPX_BENCH=OFF >/dev/null
	cmake --build build-fuzz -j $(JOBS) --target fuzz_targets
	tools/run-fuzz.sh build-fuzz $(FUZZ_SECONDS)

demo: build
	tools/demo.sh build/pergonix-yedek

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build build-asan build-fuzz
