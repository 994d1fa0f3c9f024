# Installs the built library into a fresh prefix and checks it as a user would (see
# Consommateur.cmake).
include(${SOURCE}/tests/installation/Consommateur.cmake)
file(REMOVE_RECURSE ${TRAVAIL})
lance(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TRAVAIL}/prefixe)
# Everything lands inside the prefix given at install time (an absolute destination would
# write into the machine's own folders).
file(STRINGS ${BUILD}/install_manifest.txt installes)
foreach(fichier IN LISTS installes)
  if(NOT fichier MATCHES "^${TRAVAIL}/prefixe/")
    message(FATAL_ERROR "installed outside the prefix: ${fichier}")
  endif()
endforeach()
verifie_installation(${TRAVAIL}/prefixe ${TRAVAIL}/verification ${GENERATEUR})

# The Python package, when built: Debian's python3 imports it from the prefix and it finds the
# library from its own place, with no library path set; pip builds the same package in a fresh
# virtual environment against the installed library.
file(GLOB modules ${TRAVAIL}/prefixe/lib/python3*/dist-packages/outils_socle/_outils_socle.cpython-*.so)
if(modules)
  list(GET modules 0 module)
  get_filename_component(paquet ${module} DIRECTORY)
  foreach(f __init__.py _outils_socle.pyi py.typed)
    if(NOT EXISTS ${paquet}/${f})
      message(FATAL_ERROR "${f} is not installed beside ${module}")
    endif()
  endforeach()
  get_filename_component(dossier ${paquet} DIRECTORY)
  unset(ENV{LD_LIBRARY_PATH})
  set(ENV{PYTHONPATH} ${dossier})
  lance(/usr/bin/python3 -c "import outils_socle as o
print(o._outils_socle.__file__ == '${module}', o.egal('ÉTÉ', 'ete', 6))")
  if(NOT SORTIE STREQUAL "True True\n")
    message(FATAL_ERROR "installed Python module: ${SORTIE}")
  endif()
  unset(ENV{PYTHONPATH})
  lance(/usr/bin/python3 ${SOURCE}/tests/installation/venv_test.py ${TRAVAIL}/prefixe ${SOURCE}/python)
endif()
