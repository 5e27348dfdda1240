# Front door for newcomers: `make run` and `make test`.
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all build run test clean fuzz

all: build

build:
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

# Opens VARNOK on a scratch copy of the demo club, so the demo stays pristine.
# The build log is shown only when the build fails, so the program is all a
# treasurer sees.
run:
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD) -j $(JOBS) -- --no-print-directory >$(BUILD)/build.log 2>&1 \
	  || { cat $(BUILD)/build.log; exit 1; }
	@rm -rf $(BUILD)/club && mkdir -p $(BUILD)/club && cp -R demo/. $(BUILD)/club/
	@cd $(BUILD)/club && ../varnok

test:
	@scripts/setup-deps
	@$(MAKE) --no-print-directory build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Runs each reader's fuzz target for FUZZ_SECONDS (clang, ASan and UBSan).
FUZZ_SECONDS ?= 60
fuzz:
	@scripts/setup-deps
	@scripts/run-fuzz $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD) build-fuzz
