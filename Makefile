# make          builds build/pergonix-yedek
# make windows  cross-builds build-win/pergonix-yedek.exe (static, needs no DLL) and its tests
# make test     installs what is missing, builds, runs every test: plain, then under
#               AddressSanitizer+UndefinedBehaviorSanitizer, then a short fuzz run, then the
#               Windows build's tests under Wine
# make test-wine  the Windows build's tests under Wine only
# make demo     installs what is missing, builds, runs the main job on the demo suite
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE_GEN := -G Ninja
FUZZ_SECONDS ?= 20

# ccache, with paths taken relative to the folder that holds this clone, so that a fresh
# clone beside another (CI's) hits the cache of the other's builds.
REPO_DIR := $(abspath $(dir $(lastword $(MAKEFILE_LIST))))
export CCACHE_BASEDIR := $(abspath $(REPO_DIR)/..)
CCACHE := $(shell command -v ccache 2>/dev/null)
LAUNCHER := $(if $(CCACHE),-DCMAKE_CXX_COMPILER_LAUNCHER=$(CCACHE) -DCMAKE_C_COMPILER_LAUNCHER=$(CCACHE))

# Wine: a prefix of its own under the build folder, no Mono or Gecko downloads, no chatter.
WINE_ENV := WINEPREFIX=$(REPO_DIR)/build-win/wineprefix WINEDLLOVERRIDES="mscoree,mshtml=" \
  WINEDEBUG=-all
# Tests that run other programs (mdbtools, mdb-reader, jet-oracle: Linux programs that the
# Windows build cannot start) or long fault loops run in the plain leg only (tools/test-wine.sh
# leaves them out of the Wine leg the same way).
ONLY_PLAIN := -LE external

.PHONY: all deps build windows test test-plain test-asan test-fuzz test-wine demo format clean

all: build

deps:
	@tools/install-deps.sh

build: deps
	cmake -S . -B build $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(LAUNCHER) >/dev/null
	cmake --build build -j $(JOBS) --target pergonix-yedek

windows: deps
	cmake -S . -B build-win $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release $(LAUNCHER) \
	  -DCMAKE_TOOLCHAIN_FILE=$(REPO_DIR)/cmake/mingw-w64-x86_64.cmake \
	  -DCMAKE_CROSSCOMPILING_EMULATOR=wine >/dev/null
	cmake --build build-win -j $(JOBS)

test: deps test-plain test-asan test-fuzz test-wine

test-plain:
	cmake -S . -B build $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(LAUNCHER) >/dev/null
	cmake --build build -j $(JOBS)
	cd build && ctest --output-on-failure -j $(JOBS)

test-asan:
	cmake -S . -B build-asan $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DPX_SANITIZE=ON \
	  -DPX_BENCH=OFF -DCMAKE_CXX_FLAGS=-O1 $(LAUNCHER) >/dev/null
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j $(JOBS) $(ONLY_PLAIN)

test-fuzz:
	CXX=clang++ cmake -S . -B build-fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DPX_FUZZ=ON -DPX_BENCH=OFF $(LAUNCHER) >/dev/null
	cmake --build build-fuzz -j $(JOBS) --target fuzz_targets
	tools/run-fuzz.sh build-fuzz $(FUZZ_SECONDS)

test-wine: windows build
	$(WINE_ENV) tools/test-wine.sh $(JOBS)

demo: build
	cmake --build build -j $(JOBS) --target pergonix-demo-suite
	tools/demo.sh build/pergonix-yedek build/pergonix-demo-suite

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf build build-asan build-fuzz build-win
