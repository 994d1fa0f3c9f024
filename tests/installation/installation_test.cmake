# Installs the built library into a fresh prefix and builds a consumer against it, once through
# find_package(OutilsSocle CONFIG) and once through pkg-config, then runs both.
file(REMOVE_RECURSE ${TRAVAIL})
set(PREFIXE ${TRAVAIL}/prefixe)

function(lance)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE sortie ERROR_VARIABLE sortie)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGN}\n${sortie}")
  endif()
  set(SORTIE "${sortie}" PARENT_SCOPE)
endfunction()

lance(${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIXE})

# Through the CMake package.
lance(${CMAKE_COMMAND} -S ${SOURCE}/tests/installation -B ${TRAVAIL}/cmake -G ${GENERATEUR}
      -DCMAKE_PREFIX_PATH=${PREFIXE} -DCMAKE_BUILD_TYPE=Release)
lance(${CMAKE_COMMAND} --build ${TRAVAIL}/cmake)
lance(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${PREFIXE}/lib ${TRAVAIL}/cmake/consommateur)
if(NOT SORTIE MATCHES "é -> C3 A9")
  message(FATAL_ERROR "unexpected output from the find_package consumer: ${SORTIE}")
endif()

# Through pkg-config.
file(GLOB pc_dirs ${PREFIXE}/lib*/pkgconfig ${PREFIXE}/lib/*/pkgconfig)
list(JOIN pc_dirs ":" pc_path)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pc_path}
                        pkg-config --cflags --libs outils-socle
                OUTPUT_VARIABLE drapeaux RESULT_VARIABLE code OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "pkg-config does not know outils-socle (PKG_CONFIG_PATH=${pc_path})")
endif()
separate_arguments(drapeaux UNIX_COMMAND "${drapeaux}")
lance(c++ -std=c++20 -fPIC ${SOURCE}/tests/installation/consommateur.cpp ${drapeaux}
      -o ${TRAVAIL}/consommateur-pkgconfig)
lance(${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${PREFIXE}/lib ${TRAVAIL}/consommateur-pkgconfig)
if(NOT SORTIE MATCHES "é -> C3 A9")
  message(FATAL_ERROR "unexpected output from the pkg-config consumer: ${SORTIE}")
endif()
