# What a user of an installed OutilsSocle meets, checked on any install tree: a staged
# `cmake --install`, or Debian packages unpacked into a folder. Included by the installation and
# package tests; SOURCE is the project's source folder.

# Runs a command, fails with its output unless it exits with 0; its output goes to SORTIE.
function(lance)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE sortie ERROR_VARIABLE sortie)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "failed (${code}): ${ARGN}\n${sortie}")
  endif()
  set(SORTIE "${sortie}" PARENT_SCOPE)
endfunction()

# Builds tests/installation/consommateur.cpp against the tree under `prefixe` through
# find_package(OutilsSocle CONFIG) and through the pkg-config line alone, runs both, and runs
# the installed program with no library path set: it must find the library by itself.
function(verifie_installation prefixe travail generateur)
  file(REMOVE_RECURSE ${travail})

  # Every public header of the source tree is installed.
  file(GLOB_RECURSE entetes RELATIVE ${SOURCE}/include ${SOURCE}/include/outils_socle/*.h)
  foreach(entete IN LISTS entetes)
    if(NOT EXISTS ${prefixe}/include/${entete})
      message(FATAL_ERROR "public header not installed: ${entete}")
    endif()
  endforeach()

  # Through the CMake package.
  lance(${CMAKE_COMMAND} -S ${SOURCE}/tests/installation -B ${travail}/cmake -G ${generateur}
        -DCMAKE_PREFIX_PATH=${prefixe} -DCMAKE_BUILD_TYPE=Release)
  lance(${CMAKE_COMMAND} --build ${travail}/cmake)
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${travail}/cmake/consommateur)
  if(NOT SORTIE MATCHES "é -> C3 A9")
    message(FATAL_ERROR "unexpected output from the find_package consumer: ${SORTIE}")
  endif()

  # Through pkg-config, with its output as the only flags.
  file(GLOB_RECURSE fichiers_pc ${prefixe}/outils-socle.pc)
  list(LENGTH fichiers_pc n)
  if(NOT n EQUAL 1)
    message(FATAL_ERROR "expected one outils-socle.pc under ${prefixe}, found: ${fichiers_pc}")
  endif()
  get_filename_component(dossier_pc ${fichiers_pc} DIRECTORY)
  get_filename_component(dossier_bibliotheque ${dossier_pc} DIRECTORY)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${dossier_pc}
                          pkg-config --cflags --libs outils-socle
                  OUTPUT_VARIABLE drapeaux RESULT_VARIABLE code OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "pkg-config does not know outils-socle (PKG_CONFIG_PATH=${dossier_pc})")
  endif()
  separate_arguments(drapeaux UNIX_COMMAND "${drapeaux}")
  lance(c++ -std=c++20 ${SOURCE}/tests/installation/consommateur.cpp ${drapeaux}
        -o ${travail}/consommateur-pkgconfig)
  lance(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${dossier_bibliotheque} ${travail}/consommateur-pkgconfig)
  if(NOT SORTIE MATCHES "é -> C3 A9")
    message(FATAL_ERROR "unexpected output from the pkg-config consumer: ${SORTIE}")
  endif()

  # The installed program starts without help and does real work.
  set(programme ${prefixe}/bin/outils-socle)
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${programme} --help)
  if(NOT SORTIE MATCHES "lexique")
    message(FATAL_ERROR "installed program's help: ${SORTIE}")
  endif()
  # In English from the installed catalogue (<prefix>/share/locale), found from the installed
  # library's place; French when the user asks for nothing else.
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH LANGUAGE=en ${programme} --help)
  if(NOT SORTIE MATCHES "compiles a word list")
    message(FATAL_ERROR "installed program's help in English: ${SORTIE}")
  endif()
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH --unset=LANGUAGE LANG=C.UTF-8 LC_ALL=C.UTF-8
        ${programme} --help)
  if(NOT SORTIE MATCHES "compile une liste de mots")
    message(FATAL_ERROR "installed program's help in French: ${SORTIE}")
  endif()
  file(WRITE ${travail}/mots.txt "été\nete\nÉté\n")
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${programme}
        lexique compile ${travail}/mots.txt ${travail}/mots.aut)
  lance(${CMAKE_COMMAND} -E env --unset=LD_LIBRARY_PATH ${programme} lexique cherche ${travail}/mots.aut ETE)
  if(NOT SORTIE MATCHES "3 forme\\(s\\)")
    message(FATAL_ERROR "installed program's lookup: ${SORTIE}")
  endif()
endfunction()
