# Debian packages (`make deb`), split as Debian splits a library:
#   liboutilssocle0     the runtime library; the name follows its SONAME, libOutilsSocle.so.0
#   liboutilssocle-dev  headers, the unversioned link, the CMake package, the pkg-config file
#   outils-socle        the program and its manual page
#   python3-outils-socle the Python module, for Debian's python3
#   libenchant-2-outils-socle  the Enchant provider (named as Debian names Enchant's providers,
#                        libenchant-2-voikko), with the ordering that puts it first for French
#   outils-socle-lexique-fr  the French lexicon, compiled from Debian's wfrench list at build time
# Built with CPack's DEB generator from a build configured for /usr; dpkg-shlibdeps computes
# the dependencies on other Debian libraries, and the packages of one build depend on each
# other at exactly that build's version.
option(OUTILS_SOCLE_PAQUETS "Prepare Debian packages (make deb): copyright and changelog files" OFF)
if(NOT OUTILS_SOCLE_PAQUETS)
  return()
endif()

set(OUTILS_SOCLE_MAINTENEUR "Équipe OutilsSocle <outils-socle@example.org>"
    CACHE STRING "The Maintainer field of the Debian packages")
set(paquet_bibliotheque liboutilssocle${PROJECT_VERSION_MAJOR})
set(paquet_developpement liboutilssocle-dev)
set(paquet_programme outils-socle)
set(paquet_python python3-outils-socle)
set(paquet_enchant libenchant-2-outils-socle)
set(paquet_lexique_fr outils-socle-lexique-fr)
set(composants bibliotheque developpement programme)
if(TARGET outils_socle_python)
  list(APPEND composants python)
endif()
if(TARGET outils_socle_enchant)
  list(APPEND composants enchant)
endif()

# The French lexicon, compiled by this build's program from Debian's French word list.
set(liste_francaise /usr/share/dict/french)
if(TARGET outils-socle AND EXISTS ${liste_francaise})
  set(lexique_fr ${CMAKE_CURRENT_BINARY_DIR}/lexiques/fr.aut)
  add_custom_command(OUTPUT ${lexique_fr}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/lexiques
    COMMAND $<TARGET_FILE:outils-socle> lexique compile ${liste_francaise} ${lexique_fr}
    DEPENDS outils-socle ${liste_francaise}
    COMMENT "Compiling the French lexicon from ${liste_francaise}" VERBATIM)
  add_custom_target(lexique_fr ALL DEPENDS ${lexique_fr})
  install(FILES ${lexique_fr} DESTINATION ${CMAKE_INSTALL_DATADIR}/outils-socle/lexiques COMPONENT lexique_fr)
  list(APPEND composants lexique_fr)
else()
  message(STATUS "${liste_francaise} (wfrench) not found: no French lexicon package")
endif()

# Every Debian package carries its copyright file and, being native, its changelog, written from
# CHANGELOG.md.
set(changelog_gz ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz)
outils_socle_changelog_debian(outils-socle "${OUTILS_SOCLE_MAINTENEUR}" ${CMAKE_CURRENT_BINARY_DIR}/changelog)
outils_socle_gzip(changelog_debian ${CMAKE_CURRENT_BINARY_DIR}/changelog ${changelog_gz})
foreach(composant IN LISTS composants)
  # The French lexicon holds the word list's words, under its licence (GPL-2+).
  set(copyright ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/copyright)
  if(composant STREQUAL "lexique_fr")
    set(copyright ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/copyright-lexique-fr)
  endif()
  install(FILES ${copyright} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${paquet_${composant}}
          RENAME copyright COMPONENT ${composant})
  install(FILES ${changelog_gz} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${paquet_${composant}}
          COMPONENT ${composant})
endforeach()
# lintian's one deliberate exception, with its reason, in the package it concerns.
configure_file(cmake/debian/lintian-developpement.in
               ${CMAKE_CURRENT_BINARY_DIR}/lintian/${paquet_developpement} @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/lintian/${paquet_developpement}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT developpement)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME outils-socle)
set(CPACK_PACKAGE_VENDOR "OutilsSocle")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/paquets)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${composants})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${OUTILS_SOCLE_MAINTENEUR}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The program needs the library of the same build: dpkg-shlibdeps finds it in the build tree
# (it knows no package for it and says nothing); the dependency comes from the components.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPPEMENT_DEPENDS bibliotheque)
set(CPACK_COMPONENT_PROGRAMME_DEPENDS bibliotheque)
set(CPACK_COMPONENT_PYTHON_DEPENDS bibliotheque)

set(CPACK_DEBIAN_BIBLIOTHEQUE_PACKAGE_NAME ${paquet_bibliotheque})
set(CPACK_DEBIAN_BIBLIOTHEQUE_PACKAGE_SECTION libs)
# A shlibs file, so that packages built against the library depend on it; programs built
# against this version run with any later one of the same SONAME.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The ldconfig trigger instead of CPack's maintainer scripts (removed once the packages exist).
set(CPACK_DEBIAN_BIBLIOTHEQUE_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_BIBLIOTHEQUE_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_OUTILS_SOCLE_PAQUET_BIBLIOTHEQUE ${paquet_bibliotheque})
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/SansLdconfig.cmake)
set(CPACK_DEBIAN_BIBLIOTHEQUE_DESCRIPTION
"core tools library for French-language applications
OutilsSocle gives C++ applications UTF-16 strings with seven byte encodings
and case-, accent- and ligature-insensitive comparison, containers, byte
streams and number encodings, minimal acyclic automata that hold large word
lists compactly and answer lookups in place from mapped files, threads, locks
and operation queues.
.
This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPPEMENT_PACKAGE_NAME ${paquet_developpement})
set(CPACK_DEBIAN_DEVELOPPEMENT_PACKAGE_SECTION libdevel)
# The headers include Qt Core's (UniChaine holds a QString); the CMake package and the
# pkg-config file ask for it.
set(CPACK_DEBIAN_DEVELOPPEMENT_PACKAGE_DEPENDS "qtbase5-dev")
set(CPACK_DEBIAN_DEVELOPPEMENT_DESCRIPTION
"core tools library for French-language applications (development files)
OutilsSocle gives C++ applications UTF-16 strings with seven byte encodings
and insensitive comparison, containers, streams, compact lexicon automata,
threads and operation queues.
.
This package holds the headers (one umbrella header,
<outils_socle/OutilsSocle.h>, includes them all), the CMake package for
find_package(OutilsSocle CONFIG) and the pkg-config file outils-socle.")

set(CPACK_DEBIAN_PROGRAMME_PACKAGE_NAME ${paquet_programme})
set(CPACK_DEBIAN_PROGRAMME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAMME_PACKAGE_SUGGESTS "wfrench, graphviz")
set(CPACK_DEBIAN_PROGRAMME_DESCRIPTION
"encoding conversions and compact lexicons from the command line
The outils-socle program puts the OutilsSocle library to work: it converts
text between seven encodings like iconv, compiles word lists into minimal
automata and queries them (insensitive and ranked lookups, prefixes, jokers,
spelling corrections, numbering). It speaks French or English, following
the user's language; its manual page is in both.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${paquet_python})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
# The module is built for one Python ABI (its file name says cpython-3XX): the interpreter of
# that minor version, as Debian's own extension packages depend on it.
if(TARGET outils_socle_python)
  math(EXPR python_suivant "${OUTILS_SOCLE_PYTHON_MINEURE} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3 (>= ${OUTILS_SOCLE_PYTHON_MAJEURE}.${OUTILS_SOCLE_PYTHON_MINEURE}), python3 (<< ${OUTILS_SOCLE_PYTHON_MAJEURE}.${python_suivant})")
endif()
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
"core tools library for French-language applications (Python 3 module)
The outils_socle module gives Python the OutilsSocle library's compact
lexicons (compiled from any iterable of str, read in place, with insensitive
ranked lookups, prefixes, jokers and corrections), accent-, case- and
ligature-insensitive comparison, seven byte encodings, line and character
comparison with unified diffs, and calendar arithmetic. Its messages and
docstrings are in French.")

set(CPACK_DEBIAN_ENCHANT_PACKAGE_NAME ${paquet_enchant})
set(CPACK_DEBIAN_ENCHANT_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_ENCHANT_DEPENDS bibliotheque)
set(CPACK_DEBIAN_ENCHANT_PACKAGE_RECOMMENDS ${paquet_lexique_fr})
# /etc/enchant/enchant.ordering is the administrator's to change: a conffile.
set(CPACK_DEBIAN_ENCHANT_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/cmake/debian/enchant/conffiles)
set(CPACK_DEBIAN_ENCHANT_DESCRIPTION
"OutilsSocle lexicons as Enchant spell-checking dictionaries
This Enchant 2 provider makes every application that spell-checks through
Enchant (GTK text views, editors, chat clients, pyenchant, and the ispell
pipe of enchant-2 -a that Emacs uses) check and correct words with
OutilsSocle's compiled lexicons, as French is written: elisions, hyphenated
compounds, both apostrophes, capitals. Corrections are ranked by a model of
French spelling mistakes.
.
A lexicon is looked up by language tag in ~/.local/share/outils-socle/lexiques
and /usr/share/outils-socle/lexiques; outils-socle lexique installe compiles
any word list there. The package makes the provider Enchant's first choice
for French in /etc/enchant/enchant.ordering.")

set(CPACK_DEBIAN_LEXIQUE_FR_PACKAGE_NAME ${paquet_lexique_fr})
set(CPACK_DEBIAN_LEXIQUE_FR_PACKAGE_SECTION text)
set(CPACK_DEBIAN_LEXIQUE_FR_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_LEXIQUE_FR_PACKAGE_SUGGESTS "${paquet_enchant}, ${paquet_programme}")
set(CPACK_DEBIAN_LEXIQUE_FR_DESCRIPTION
"French lexicon for OutilsSocle and its Enchant provider
Debian's French word list (wfrench) compiled into an OutilsSocle lexicon: a
minimal automaton read in place from its file, which the Enchant provider
uses for French and outils-socle lexique verifie can check texts with.")

include(CPack)
