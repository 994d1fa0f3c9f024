# Installs the built library into a fresh prefix and checks it as a user would (see
# Consommateur.cmake).
include(${SOURCE}/tests/installation/Consommateur.cmake)
file(REMOVE_RECURSE ${TRAVAIL})
lance(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TRAVAIL}/prefixe)
verifie_installation(${TRAVAIL}/prefixe ${TRAVAIL}/verification ${GENERATEUR})

# The Python module, when built: Debian's python3 imports it from the prefix and it finds the
# library from its own place, with no library path set.
file(GLOB modules ${TRAVAIL}/prefixe/lib/python3*/dist-packages/outils_socle.cpython-*.so)
if(modules)
  list(GET modules 0 module)
  get_filename_component(dossier ${module} DIRECTORY)
  if(NOT EXISTS ${dossier}/outils_socle.pyi)
    message(FATAL_ERROR "the type stubs are not installed beside ${module}")
  endif()
  unset(ENV{LD_LIBRARY_PATH})
  set(ENV{PYTHONPATH} ${dossier})
  lance(/usr/bin/python3 -c "import outils_socle as o
print(o.__file__ == '${module}', o.egal('ÉTÉ', 'ete', 6))")
  if(NOT SORTIE STREQUAL "True True\n")
    message(FATAL_ERROR "installed Python module: ${SORTIE}")
  endif()
endif()
