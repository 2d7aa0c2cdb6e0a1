# Front door: every target installs what is missing first, so a fresh Debian machine needs nothing else.
BUILD      ?= build
ASAN_BUILD ?= build-asan
JOBS       ?= $(shell nproc)
CMAKE_ARGS ?=
CTEST_ARGS ?= --output-on-failure

.PHONY: all deps build run test test-normal test-asan bench deb clean

all: build

deps:
	./scripts/install-deps.sh

build: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS)
	cmake --build $(BUILD) -j$(JOBS)

run: build
	./$(BUILD)/vrxassist

test: deps test-normal test-asan

test-normal: build
	cd $(BUILD) && QT_QPA_PLATFORM=offscreen ctest $(CTEST_ARGS) -j$(JOBS)

test-asan: deps
	cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DVRX_SANITIZE=ON -DVRX_BUILD_BENCH=OFF $(CMAKE_ARGS)
	cmake --build $(ASAN_BUILD) -j$(JOBS)
	cd $(ASAN_BUILD) && QT_QPA_PLATFORM=offscreen ctest $(CTEST_ARGS) -j$(JOBS)

bench: build
	./scripts/run-benchmarks.sh $(BUILD)

# build/vrxassist_<version>_<arch>.deb, to install with `sudo apt install ./build/vrxassist_*.deb`.
deb: build
	cd $(BUILD) && cpack -G DEB

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
