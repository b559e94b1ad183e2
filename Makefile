# Quick start: `make demo` builds the library and runs examples/tour;
# `make test` builds and runs the whole test suite through CTest.
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
# TARGETS (optional) limits `make build` to those targets.
TARGETS ?=
CONFIGURE = cmake -S . -B $(BUILD) -G Ninja \
	-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ $(CMAKE_FLAGS)

.PHONY: demo test build deps bench clean

deps:
	@tools/deps.sh test

build: deps
	@$(CONFIGURE) >/dev/null
	@cmake --build $(BUILD) -j $(JOBS) $(if $(TARGETS),--target $(TARGETS))

demo: build
	@$(BUILD)/examples/tour

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench:
	@tools/deps.sh bench
	@bench/run.sh

clean:
	rm -rf $(BUILD)
