# SPDX-License-Identifier: LGPL-3.0-or-later
# Front door: every target installs what is missing first, so a fresh Debian machine needs nothing else.
BUILD      ?= build
ASAN_BUILD ?= build-asan
TSAN_BUILD ?= build-tsan
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
CTEST_ARGS ?= --output-on-failure

.PHONY: all deps build run test test-normal test-asan test-tsan bench deb clean

all: build

deps:
	./scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS)

run: build
	./$(BUILD)/vrxassist

test: deps test-normal test-asan test-tsan

test-normal: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest $(CTEST_ARGS) -j$(JOBS)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DVRX_SANITIZE=ON -DVRX_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && QT_QPA_PLATFORM=offscreen ctest $(CTEST_ARGS) -j$(JOBS)

# ThreadSanitizer on the tests that run threads (label "tsan"); only those and what they start
# are built, at -O1, to keep the stage short.
test-tsan: deps
	cmake -S . -B $(TSAN_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVRX_TSAN=ON -DVRX_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(TSAN_BUILD) --target tsan_tests -j$(JOBS)
	cd $(TSAN_BUILD) && QT_QPA_PLATFORM=offscreen ctest $(CTEST_ARGS) -L tsan -j$(JOBS)

bench: build
	./scripts/run-benchmarks.sh $(BUILD)

# build/vrxassist_<version>_<arch>.deb, to install with `sudo apt install ./build/vrxassist_*.deb`.
deb: build
	cd $(BUILD) && cpack -G DEB

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(TSAN_BUILD)
