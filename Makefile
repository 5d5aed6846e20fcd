# The commands of the README. Each installs the Debian packages it needs first.
SHELL := /bin/bash
PRESET ?= default
BUILD := build/$(PRESET)
JOBS ?= $(shell nproc)

# Packages every build needs, and those the tests use as peers.
BUILD_PKGS := cmake ninja-build g++ pkg-config ccache tzdata libgtest-dev libgmock-dev libsqlite3-dev \
              libcli11-dev nlohmann-json3-dev zlib1g-dev libpng-dev
PEER_PKGS := staden-io-lib-utils python3-biopython python3-pefile python3-gi gir1.2-gdkpixbuf-2.0
# The window layer's GTK 3 backend, and the private X server its real-window tests run on.
TOOLKIT_PKGS := libgtk-3-dev libxtst-dev fonts-liberation
GUI_TEST_PKGS := xvfb xauth
# Print devices (cairo, fontconfig, CUPS), their fonts, the private scheduler of the
# CUPS tests and the poppler tools that read our PDF and PNG output back.
PRINT_PKGS := libcairo2-dev libfontconfig-dev libcups2-dev fonts-liberation cups-daemon cups-client \
              cups-filters poppler-utils
BENCH_PKGS := libbenchmark-dev libstaden-read-dev libpcre2-dev libre2-dev enscript ghostscript
FUZZ_PKGS := clang libclang-rt-14-dev

define ensure_pkgs
	@missing=""; for p in $(1); do dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "ok installed" || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  SUDO=""; [ "$$(id -u)" -ne 0 ] && SUDO=sudo; \
	  $$SUDO apt-get update -qq && DEBIAN_FRONTEND=noninteractive $$SUDO apt-get install -y -qq $$missing >/dev/null; \
	fi
endef

.PHONY: all deps build demo test asan tsan fuzz bench install clean

all: build

deps:
	$(call ensure_pkgs,$(BUILD_PKGS) $(PEER_PKGS) $(TOOLKIT_PKGS) $(GUI_TEST_PKGS) $(PRINT_PKGS))

build: deps
	cmake --preset $(PRESET) >/dev/null
	cmake --build --preset $(PRESET) -j $(JOBS)

demo: build
	@bash examples/demo.sh $(BUILD)

test: build
	ctest --preset $(PRESET)

asan: deps
	cmake --preset asan >/dev/null
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan

tsan: deps
	cmake --preset tsan >/dev/null
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan

# Builds the libFuzzer targets and runs each for FUZZ_SECONDS (default 60).
FUZZ_SECONDS ?= 60
fuzz: deps
	$(call ensure_pkgs,$(FUZZ_PKGS))
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz -j $(JOBS)
	@bash fuzz/run_all.sh build/fuzz $(FUZZ_SECONDS)

bench: deps
	$(call ensure_pkgs,$(BENCH_PKGS))
	cmake --preset bench >/dev/null
	cmake --build --preset bench -j $(JOBS)
	@for b in build/bench/bench/*_bench; do echo "== $$b"; $$b --benchmark_min_time=0.2 || exit 1; done

PREFIX ?= /usr/local
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf build
