# Entry points for people: each target does its own setup, so a fresh clone needs only one.
#   make demo        set up, build, and run the demonstration on the French word list
#   make check       set up, build, and run every test with ctest
#   make check-asan  the same tests built with AddressSanitizer and UndefinedBehaviorSanitizer
#   make check-tsan  the tests built with ThreadSanitizer
#   make bench       run the benchmarks (ours beside ICU, Qt, the standard library, zlib, libdeflate,
#                    marisa-trie and dawgdic)
#   make format      check the formatting with clang-format
#   make pot         collect the marked messages into po/outils-socle.pot and merge them into
#                    po/en.po (new ones come untranslated, for a translator to fill in)
#   make fuzz        build the fuzz targets with clang and run each for DUREE seconds (default 5)
#   make deb         build the Debian packages into build-deb/paquets/
#   make check-deb   build them, check them with lintian, unpack them and use them as a user would

JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
LAUNCHER := $(shell command -v ccache >/dev/null 2>&1 && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: setup build demo check check-asan check-tsan bench format fuzz deb check-deb pot clean

setup:
	@bash scripts/setup.sh

build/CMakeCache.txt: | setup
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo $(LAUNCHER) $(CMAKE_FLAGS)

build: setup build/CMakeCache.txt
	cmake --build build -j $(JOBS)

demo: build
	./build/outils/outils-socle demo

check: build
	cd build && ctest -j $(JOBS) --output-on-failure

build-asan/CMakeCache.txt: | setup
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DOUTILS_SOCLE_SANITIZE=address,undefined \
	  -DOUTILS_SOCLE_BENCH=OFF $(LAUNCHER) $(CMAKE_FLAGS)

check-asan: setup build-asan/CMakeCache.txt
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest -j $(JOBS) --output-on-failure -LE installation

build-tsan/CMakeCache.txt: | setup
	cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DOUTILS_SOCLE_SANITIZE=thread \
	  -DOUTILS_SOCLE_BENCH=OFF $(LAUNCHER) $(CMAKE_FLAGS)

check-tsan: setup build-tsan/CMakeCache.txt
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS="halt_on_error=1 suppressions=$(CURDIR)/tests/tsan.supp" ctest -j $(JOBS) --output-on-failure -LE installation

# The fuzz targets and the library under them, built by clang with libFuzzer, AddressSanitizer
# and UndefinedBehaviorSanitizer; make fuzz DUREE=3600 for a long campaign (docs/fuzzing.md).
DUREE ?= 5
build-fuzz/CMakeCache.txt: | setup
	CC=clang-14 CXX=clang++-14 cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOUTILS_SOCLE_FUZZ=ON \
	  -DOUTILS_SOCLE_TESTS=OFF -DOUTILS_SOCLE_BENCH=OFF -DOUTILS_SOCLE_OUTILS=OFF $(LAUNCHER) $(CMAKE_FLAGS)

fuzz: setup build-fuzz/CMakeCache.txt
	cmake --build build-fuzz -j $(JOBS)
	bash scripts/fuzz.sh build-fuzz $(DUREE)

bench: build
	./build/bench/bench_texte
	./build/bench/bench_flux
	./build/bench/bench_compression
	./build/bench/bench_conteneurs
	./build/bench/bench_table_chaine
	./build/bench/bench_fils
	./build/bench/bench_automates
	./build/bench/bench_echelle
	./build/bench/bench_journaux
	./build/bench/bench_xml
	PYTHONPATH=build/python/module /usr/bin/python3 bench/python_bench.py
	PYTHONPATH=build/python/module /usr/bin/python3 bench/dask_bench.py
	./build/bench/bench_synchro
	./build/bench/bench_corrections
	/usr/bin/python3 bench/enchant_bench.py build/outils/outils-socle build/enchant/module/enchant_outils_socle.so \
	  build/bench/enchant_plancher.so build/bench/bench_corrections build/bench/enchant

# The keywords are the marks the sources use: N_ and Traduis in the library, Tr and TrPluriel in
# the program. The catalogue's test (Langues.CatalogueAnglaisComplet) runs the same collection.
XGETTEXT_MOTS = --keyword --keyword=N_ --keyword=Traduis:1 --keyword=Tr --keyword=TrPluriel:1,2
pot:
	xgettext --from-code=UTF-8 -C $(XGETTEXT_MOTS) --package-name=outils-socle --add-location=file \
	  --sort-output -o po/outils-socle.pot $$(git ls-files 'src/*.cpp' 'src/*.h' 'outils/*.cpp')
	msgmerge --quiet --update --backup=none --sort-output --add-location=file po/en.po po/outils-socle.pot
	msgattrib --no-obsolete --sort-output -o po/en.po po/en.po
	msgfmt --check --statistics -o /dev/null po/en.po

# Packages are built for /usr, with Debian's hardening flags, from a build of their own (tests and
# benchmarks off), optimised as the tested build is (-O2; CPack strips the debugging data).
DEB_BUILDFLAGS = DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get
build-deb/CMakeCache.txt: | setup
	cmake -S . -B build-deb -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_INSTALL_PREFIX=/usr \
	  -DOUTILS_SOCLE_PAQUETS=ON -DOUTILS_SOCLE_TESTS=OFF -DOUTILS_SOCLE_BENCH=OFF \
	  -DCMAKE_CXX_FLAGS="$$($(DEB_BUILDFLAGS) CPPFLAGS) $$($(DEB_BUILDFLAGS) CXXFLAGS)" \
	  -DCMAKE_SHARED_LINKER_FLAGS="$$($(DEB_BUILDFLAGS) LDFLAGS)" \
	  -DCMAKE_MODULE_LINKER_FLAGS="$$($(DEB_BUILDFLAGS) LDFLAGS)" \
	  -DCMAKE_EXE_LINKER_FLAGS="$$($(DEB_BUILDFLAGS) LDFLAGS)" $(LAUNCHER) $(CMAKE_FLAGS)

deb: setup build-deb/CMakeCache.txt
	cmake --build build-deb -j $(JOBS)
	rm -rf build-deb/paquets
	cd build-deb && cpack -G DEB
	@ls -1 build-deb/paquets/*.deb

check-deb: deb
	cmake -DSOURCE=$(CURDIR) -DPAQUETS=$(CURDIR)/build-deb/paquets \
	  -DTRAVAIL=$(CURDIR)/build-deb/verification -P tests/installation/paquets_test.cmake

format:
	clang-format --dry-run --Werror $$(git ls-files 'include/*.h' 'src/*.cpp' 'src/*.h' ':!src/texte/TablesUnOctet.cpp' 'tests/*.cpp' 'tests/*.h' 'bench/*.cpp' 'outils/*.cpp' 'outils/*.h' 'fuzz/*.cpp' 'fuzz/*.h' 'python/*.cpp' 'python/*.h' 'enchant/*.cpp' 'bench/*.c')

clean:
	rm -rf build build-asan build-tsan build-deb
