# The two commands of the README. Each does the whole set-up on a fresh Debian machine:
# install the packages, configure, build, then run.
.PHONY: demo test test-tsan fuzz-smoke deps build-dev build-release bench fuzz format clean gallery

JOBS ?= $(shell nproc)

# The demo's standard output is the story; the library's own lines go to build/demo/library.log.
demo: build-release
	@mkdir -p build/demo
	@status=0; ./build/release/bin/quillgate demo --pictures build/demo/ --log build/demo/library.log || status=$$?; \
	echo "make demo: the library's full log is build/demo/library.log"; \
	if ls build/demo/*.png >/dev/null 2>&1; then echo "make demo: the pictures are in build/demo/"; fi; \
	exit $$status

# Every template and screen of the local service's data as `quillgate preview` draws it, into
# docs/gallery/ with a README.md that shows each picture and the command that made it. The
# fonts are the service's, laid out on disk under build/gallery/fonts; the clock is fixed. The
# pictures are those of the dev build's host, which the tests also draw with.
gallery: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS) --target quillgate_host
	rm -rf build/gallery docs/gallery
	./build/dev/bin/quillgate gallery --data tools/devserver/data --out docs/gallery \
	    --fonts build/gallery/fonts

# The whole suite under ASan + UBSan; then the threaded tests (the binaries of the
# `threaded_tests` target, tests/CMakeLists.txt) again under ThreadSanitizer, built alone.
# `make fuzz-smoke` runs every fuzz target for a few seconds from its corpus; it joins `test`
# once its clang build has been timed against the CI budget.
FUZZ_SMOKE_SECONDS ?= 5

test: build-dev
	ctest --preset dev -j $(JOBS)
	$(MAKE) --no-print-directory test-tsan

test-tsan: deps
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS) --target threaded_tests
	ctest --preset tsan-threaded -j $(JOBS)

fuzz-smoke:
	QUILLGATE_FUZZ=1 ./scripts/install-deps.sh
	./scripts/fuzz-smoke.sh $(FUZZ_SMOKE_SECONDS)

deps:
	./scripts/install-deps.sh

build-dev: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)

build-release: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS) --target quillgate_host

bench: deps
	cmake --preset release -DQUILLGATE_BUILD_BENCH=ON
	cmake --build --preset release -j $(JOBS) --target quillgate_bench
	./build/release/tests/quillgate_bench

fuzz:
	QUILLGATE_FUZZ=1 ./scripts/install-deps.sh
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
