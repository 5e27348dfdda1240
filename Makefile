# Front door for newcomers: `make run`, `make test`, `make install`.
BUILD ?= build
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
# The club `make run` opens: a copy of demo/ made by the first run and kept,
# with whatever was typed into it, until `make demo` starts a fresh one.
CLUB ?= $(BUILD)/club

PREFIX ?= /usr/local
DESTDIR ?=
BINDIR = $(DESTDIR)$(PREFIX)/bin
MANDIR = $(DESTDIR)$(PREFIX)/share/man/man1
DATADIR = $(DESTDIR)$(PREFIX)/share/varnok
DEMO_FILES = $(notdir $(wildcard demo/*))

.PHONY: all build program run demo test install uninstall clean fuzz

all: build

build:
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

# What the machine lacks, then the program alone (no tests), its progress
# on one line; the build log only when the build fails.
program:
	@scripts/setup-deps
	@scripts/build-program $(BUILD) $(JOBS)

run: program
	@[ -d $(CLUB) ] || { mkdir -p $(CLUB) && cp -R demo/. $(CLUB)/; }
	@cd $(CLUB) && $(abspath $(BUILD))/varnok

# Starts again from the demo as shipped; the club used so far is kept as
# $(CLUB).old until the next `make demo`.
demo: program
	@if [ -d $(CLUB) ]; then rm -rf $(CLUB).old && mv $(CLUB) $(CLUB).old && \
	  echo "make demo: a fresh copy of the demo club in $(CLUB); the one used so far is now $(CLUB).old"; \
	else echo "make demo: a fresh copy of the demo club in $(CLUB)"; fi
	@mkdir -p $(CLUB) && cp -R demo/. $(CLUB)/
	@cd $(CLUB) && $(abspath $(BUILD))/varnok

test:
	@scripts/setup-deps
	@$(MAKE) --no-print-directory build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# NOBUILD=1 installs the program already built in $(BUILD) as it is.
install: $(if $(NOBUILD),,program)
	install -d $(BINDIR) $(MANDIR) $(DATADIR)/demo
	install -m 755 $(BUILD)/varnok $(BINDIR)/varnok
	install -m 644 doc/varnok.1 $(MANDIR)/varnok.1
	install -m 644 demo/VARNOK.TXT $(DATADIR)/VARNOK.TXT
	install -m 644 $(addprefix demo/,$(DEMO_FILES)) $(DATADIR)/demo/

uninstall:
	rm -f $(BINDIR)/varnok $(MANDIR)/varnok.1 $(DATADIR)/VARNOK.TXT
	rm -f $(addprefix $(DATADIR)/demo/,$(DEMO_FILES))
	rmdir $(DATADIR)/demo $(DATADIR) 2>/dev/null || true

# Runs each reader's fuzz target for FUZZ_SECONDS (clang, ASan and UBSan).
FUZZ_SECONDS ?= 60
fuzz:
	@scripts/setup-deps
	@scripts/run-fuzz $(FUZZ_SECONDS)

clean:
	rm -rf $(BUILD) build-fuzz
