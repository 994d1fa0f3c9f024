# The Debian packages of `make deb` as a user gets them: their names, fields and contents, a
# lintian check, then unpacked into a folder of their own and used there (see
# Consommateur.cmake). Installing them on this machine is not needed: dpkg-deb -x gives the
# same tree under another root.
include(${SOURCE}/tests/installation/Consommateur.cmake)
file(REMOVE_RECURSE ${TRAVAIL})
file(MAKE_DIRECTORY ${TRAVAIL})

# The release is CHANGELOG.md's newest; the packages' own changelog is checked against it below.
file(STRINGS ${SOURCE}/CHANGELOG.md titres REGEX "^## \\[[0-9]+\\.[0-9]+\\.[0-9]+\\] - ")
list(GET titres 0 titre)
string(REGEX REPLACE "^## \\[([0-9.]+)\\].*" "\\1" version "${titre}")
lance(dpkg-architecture -q DEB_HOST_MULTIARCH)
string(STRIP "${SORTIE}" multiarch)
set(bibliotheque liboutilssocle0)

# The control field `nom` of the package `deb`, in `variable`.
function(champ deb nom variable)
  lance(dpkg-deb -f ${deb} ${nom})
  string(STRIP "${SORTIE}" valeur)
  set(${variable} "${valeur}" PARENT_SCOPE)
endfunction()

function(exige texte motif quoi)
  if(NOT "${texte}" MATCHES "${motif}")
    message(FATAL_ERROR "${quoi}: «${texte}» does not match «${motif}»")
  endif()
endfunction()

function(exclut texte motif quoi)
  if("${texte}" MATCHES "${motif}")
    message(FATAL_ERROR "${quoi}: «${texte}» should not match «${motif}»")
  endif()
endfunction()

file(GLOB debs ${PAQUETS}/*.deb)
list(LENGTH debs n)
if(NOT n EQUAL 6)
  message(FATAL_ERROR "expected six packages in ${PAQUETS}, found: ${debs}")
endif()
foreach(paquet IN ITEMS ${bibliotheque} liboutilssocle-dev outils-socle python3-outils-socle
                        libenchant-2-outils-socle outils-socle-lexique-fr)
  file(GLOB deb ${PAQUETS}/${paquet}_*.deb)
  if(NOT deb)
    message(FATAL_ERROR "no package ${paquet} in ${PAQUETS}")
  endif()
  set(deb_${paquet} ${deb})
  champ(${deb} Version v)
  if(NOT v STREQUAL version)
    message(FATAL_ERROR "${paquet} has version ${v}, the changelog ${version}")
  endif()
  champ(${deb} Depends depends_${paquet})
  lance(dpkg-deb -c ${deb})
  set(contenu_${paquet} "${SORTIE}")
  exige("${SORTIE}" "\\./usr/share/doc/${paquet}/copyright\n" "${paquet} contents")
  exige("${SORTIE}" "\\./usr/share/doc/${paquet}/changelog\\.gz\n" "${paquet} contents")
endforeach()

# The runtime: the versioned library only, its dependencies found by dpkg-shlibdeps, a shlibs
# file so that packages built against it depend on it.
set(c "${contenu_${bibliotheque}}")
exige("${c}" "usr/lib/${multiarch}/libOutilsSocle\\.so\\.0 -> libOutilsSocle\\.so\\.[0-9.]+\n" "runtime")
exclut("${c}" "libOutilsSocle\\.so -> |usr/include|\\.pc\n|cmake/" "runtime")
exige("${depends_${bibliotheque}}" "libqt5core5a" "runtime Depends")
exige("${depends_${bibliotheque}}" "libicu" "runtime Depends")
exige("${depends_${bibliotheque}}" "zlib1g" "runtime Depends")
exige("${depends_${bibliotheque}}" "libboost-thread" "runtime Depends")
exige("${depends_${bibliotheque}}" "libxml2" "runtime Depends")
lance(dpkg-deb -e ${deb_${bibliotheque}} ${TRAVAIL}/controle)
file(READ ${TRAVAIL}/controle/shlibs shlibs)
exige("${shlibs}" "^libOutilsSocle 0 ${bibliotheque} \\(>= ${version}\\)" "shlibs")
# The linker cache through dpkg's trigger, not through maintainer scripts.
file(READ ${TRAVAIL}/controle/triggers triggers)
exige("${triggers}" "\nactivate-noawait ldconfig" "triggers")
if(EXISTS ${TRAVAIL}/controle/postinst OR EXISTS ${TRAVAIL}/controle/postrm)
  message(FATAL_ERROR "the runtime package has maintainer scripts")
endif()

# The development files: headers, the unversioned link, the CMake and pkg-config files.
set(c "${contenu_liboutilssocle-dev}")
exige("${c}" "usr/include/outils_socle/OutilsSocle\\.h\n" "development")
exige("${c}" "usr/lib/${multiarch}/libOutilsSocle\\.so -> libOutilsSocle\\.so\\.0\n" "development")
exige("${c}" "usr/lib/${multiarch}/pkgconfig/outils-socle\\.pc\n" "development")
exige("${c}" "usr/lib/${multiarch}/cmake/OutilsSocle/OutilsSocleConfig\\.cmake\n" "development")
exclut("${c}" "\n-[^\n]*/libOutilsSocle\\.so\\.[0-9.]+\n|usr/bin" "development")
exige("${depends_liboutilssocle-dev}" "${bibliotheque} \\(= ${version}\\)" "development Depends")
exige("${depends_liboutilssocle-dev}" "qtbase5-dev" "development Depends")

# The program: itself and its manual page.
set(c "${contenu_outils-socle}")
exige("${c}" "usr/bin/outils-socle\n" "program")
exige("${c}" "usr/share/man/man1/outils-socle\\.1\\.gz\n" "program")
exige("${c}" "usr/share/man/fr/man1/outils-socle\\.1\\.gz\n" "program")
exclut("${c}" "usr/lib/|usr/include" "program")
exige("${depends_outils-socle}" "${bibliotheque} \\(= ${version}\\)" "program Depends")

# The Python module: where Debian's python3 looks, with its type stubs, for that interpreter.
set(c "${contenu_python3-outils-socle}")
exige("${c}" "usr/lib/python3/dist-packages/outils_socle/_outils_socle\\.cpython-3[0-9]+-${multiarch}\\.so\n" "Python module")
foreach(f __init__\\.py _outils_socle\\.pyi py\\.typed)
  exige("${c}" "usr/lib/python3/dist-packages/outils_socle/${f}\n" "Python package")
endforeach()
exige("${depends_python3-outils-socle}" "${bibliotheque} \\(= ${version}\\)" "Python Depends")
exige("${depends_python3-outils-socle}" "python3 \\(>= 3\\.[0-9]+\\), python3 \\(<< 3\\.[0-9]+\\)" "Python Depends")

# The Enchant provider: the module where Debian's Enchant loads providers, the ordering as a
# conffile, the library of the same build.
set(c "${contenu_libenchant-2-outils-socle}")
exige("${c}" "usr/lib/${multiarch}/enchant-2/enchant_outils_socle\\.so\n" "Enchant provider")
exige("${c}" "\\./etc/enchant/enchant\\.ordering\n" "Enchant provider")
exige("${depends_libenchant-2-outils-socle}" "${bibliotheque} \\(= ${version}\\)" "Enchant provider Depends")
exige("${depends_libenchant-2-outils-socle}" "libenchant-2-2" "Enchant provider Depends")
lance(dpkg-deb -I ${deb_libenchant-2-outils-socle} conffiles)
exige("${SORTIE}" "^/etc/enchant/enchant\\.ordering\n$" "Enchant provider conffiles")
# The French lexicon: architecture-independent data, under the word list's licence.
set(c "${contenu_outils-socle-lexique-fr}")
exige("${c}" "usr/share/outils-socle/lexiques/fr\\.aut\n" "French lexicon")
champ(${deb_outils-socle-lexique-fr} Architecture arch)
exige("${arch}" "^all$" "French lexicon Architecture")

# lintian: no error and no warning (the one deliberate exception is overridden in the package,
# with its reason). Its informational notes are printed for the reader.
execute_process(COMMAND lintian --fail-on error,warning --display-info ${debs}
                RESULT_VARIABLE code OUTPUT_VARIABLE rapport ERROR_VARIABLE rapport)
message(STATUS "lintian:\n${rapport}")
if(NOT code EQUAL 0)
  message(FATAL_ERROR "lintian reports errors")
endif()

# Unpacked under a root of their own, and used from there.
set(racine ${TRAVAIL}/racine)
foreach(deb IN LISTS debs)
  lance(dpkg-deb -x ${deb} ${racine})
endforeach()
if(NOT GENERATEUR)
  set(GENERATEUR "Unix Makefiles")
endif()
verifie_installation(${racine}/usr ${TRAVAIL}/verification ${GENERATEUR})
set(ENV{MANWIDTH} 100)
lance(man --warnings -E UTF-8 -l ${racine}/usr/share/man/man1/outils-socle.1.gz)
exige("${SORTIE}" "outils-socle lexique" "manual page")
exige("${SORTIE}" "COPYRIGHT.*MIT" "English manual page")
lance(man --warnings -E UTF-8 -l ${racine}/usr/share/man/fr/man1/outils-socle.1.gz)
exige("${SORTIE}" "DROITS D'AUTEUR.*MIT" "French manual page")
# The changelog the packages carry, written from CHANGELOG.md, names this release first.
execute_process(COMMAND zcat ${racine}/usr/share/doc/outils-socle/changelog.gz
                OUTPUT_FILE ${TRAVAIL}/changelog RESULT_VARIABLE code)
lance(dpkg-parsechangelog -l ${TRAVAIL}/changelog -S Version)
string(STRIP "${SORTIE}" version_paquet)
if(NOT version_paquet STREQUAL version)
  message(FATAL_ERROR "the packages' changelog says ${version_paquet}, CHANGELOG.md ${version}")
endif()
# The unpacked French lexicon answers as the list it was compiled from.
lance(${racine}/usr/bin/outils-socle lexique numero ${racine}/usr/share/outils-socle/lexiques/fr.aut école)
exige("${SORTIE}" "^école\t[0-9]+\n$" "French lexicon lookup")
lance(${racine}/usr/bin/outils-socle --version)
exige("${SORTIE}" "^outils-socle ${version}\n.*MIT" "outils-socle --version")
# The unpacked module imported by Debian's python3 and put to work; the library comes from the
# unpacked tree.
set(ENV{PYTHONPATH} ${racine}/usr/lib/python3/dist-packages)
set(ENV{LD_LIBRARY_PATH} ${racine}/usr/lib/${multiarch})
# (Lines, not semicolons, which CMake would take for list separators.)
lance(/usr/bin/python3 -c "import outils_socle as o
c = o.CompilateurAutomateAcycliqueMin(['été', 'tête'])
print(o.__file__, c.nb_formes, o.egal('ÉTÉ', 'ete', 6))")
exige("${SORTIE}" "^${racine}/usr/lib/python3/dist-packages/outils_socle[^ ]* 2 True" "Python module unpacked")
unset(ENV{PYTHONPATH})
# Enchant's own clients over the unpacked provider, lexicon and ordering (the module mounted over
# Enchant's folder in a mount namespace; skipped where none can be made).
execute_process(COMMAND /usr/bin/python3 ${SOURCE}/tests/enchant/enchant_test.py
                        ${racine}/usr/bin/outils-socle
                        ${racine}/usr/lib/${multiarch}/enchant-2/enchant_outils_socle.so ${TRAVAIL}/enchant
                        ${racine}/usr/share/outils-socle/lexiques/fr.aut ${racine}/etc/enchant/enchant.ordering
                RESULT_VARIABLE code OUTPUT_VARIABLE sortie ERROR_VARIABLE sortie)
message(STATUS "Enchant over the packages: ${sortie}")
if(NOT code EQUAL 0 AND NOT code EQUAL 77)
  message(FATAL_ERROR "Enchant's clients fail over the unpacked packages")
endif()
unset(ENV{LD_LIBRARY_PATH})
message(STATUS "packages: ${debs}")
