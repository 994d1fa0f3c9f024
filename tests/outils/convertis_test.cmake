# Runs outils-socle as a user would: conversions checked byte for byte, errors checked for their
# message and exit code.
file(REMOVE_RECURSE ${DOSSIER})
file(MAKE_DIRECTORY ${DOSSIER})

function(attends code_attendu)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE sortie ERROR_VARIABLE erreur)
  if(NOT code EQUAL code_attendu)
    message(FATAL_ERROR "${ARGN}: exit ${code}, expected ${code_attendu}\nstdout: ${sortie}\nstderr: ${erreur}")
  endif()
  set(SORTIE "${sortie}" PARENT_SCOPE)
  set(ERREUR "${erreur}" PARENT_SCOPE)
endfunction()

function(octets_hex fichier variable)
  file(READ ${fichier} hex HEX)
  set(${variable} "${hex}" PARENT_SCOPE)
endfunction()

# "été €" in UTF-8.
file(WRITE ${DOSSIER}/ete.txt "été €")

attends(0 ${PROGRAMME} convertis -f utf-8 -t LATIN-9 -o ${DOSSIER}/latin9.txt ${DOSSIER}/ete.txt)
octets_hex(${DOSSIER}/latin9.txt hex)
if(NOT hex STREQUAL "e974e920a4")
  message(FATAL_ERROR "Latin-9 bytes: ${hex}")
endif()

attends(0 ${PROGRAMME} convertis --de latin9 --vers utf-16be -o ${DOSSIER}/be.txt ${DOSSIER}/latin9.txt)
octets_hex(${DOSSIER}/be.txt hex)
if(NOT hex STREQUAL "00e9007400e9002020ac")
  message(FATAL_ERROR "UTF-16BE bytes: ${hex}")
endif()

# The euro sign is not in code page 850: one "?" and a count on stderr.
attends(0 ${PROGRAMME} convertis -t cp850 -o ${DOSSIER}/dos.txt ${DOSSIER}/ete.txt)
octets_hex(${DOSSIER}/dos.txt hex)
if(NOT hex STREQUAL "827482203f" OR NOT ERREUR MATCHES "1 caractère remplacé")
  message(FATAL_ERROR "CP850: ${hex} / ${ERREUR}")
endif()

# UTF-16 with a lone surrogate (D800, then "a") to UTF-8: the two units are joined, as the
# stored forms have always done, and counted.
execute_process(COMMAND printf "\\000\\330a\\000" OUTPUT_FILE ${DOSSIER}/seul.txt)
attends(0 ${PROGRAMME} convertis -f UTF-16LE -t UTF-8 -o ${DOSSIER}/seul8.txt ${DOSSIER}/seul.txt)
if(NOT ERREUR MATCHES "2 unités UTF-16 changées")
  message(FATAL_ERROR "lone surrogate: ${ERREUR}")
endif()

attends(0 ${PROGRAMME} convertis -f UTF-16BE -t MacRoman -o ${DOSSIER}/mac.txt ${DOSSIER}/be.txt)
octets_hex(${DOSSIER}/mac.txt hex)
if(NOT hex STREQUAL "8e748e20db")
  message(FATAL_ERROR "MacRoman bytes: ${hex}")
endif()

# Errors: unknown encoding, missing file, unknown option and subcommand, each one line on stderr.
attends(2 ${PROGRAMME} convertis -t EBCDIC ${DOSSIER}/ete.txt)
if(NOT ERREUR MATCHES "codage inconnu : « EBCDIC »")
  message(FATAL_ERROR "unknown encoding message: ${ERREUR}")
endif()
attends(1 ${PROGRAMME} convertis ${DOSSIER}/absent.txt)
if(NOT ERREUR MATCHES "impossible de lire")
  message(FATAL_ERROR "missing file message: ${ERREUR}")
endif()
attends(1 ${PROGRAMME} convertis ${DOSSIER})
if(NOT ERREUR MATCHES "est un dossier")
  message(FATAL_ERROR "directory message: ${ERREUR}")
endif()
attends(1 ${PROGRAMME} convertis -o ${DOSSIER}/absent/sortie.txt ${DOSSIER}/ete.txt)
if(NOT ERREUR MATCHES "Création échouée : .*/absent/sortie.txt : Aucun fichier ou dossier de ce type")
  message(FATAL_ERROR "unwritable output message: ${ERREUR}")
endif()
attends(2 ${PROGRAMME} convertis --bizarre)
attends(2 ${PROGRAMME} convertis -f)
attends(2 ${PROGRAMME} inconnue)
attends(2 ${PROGRAMME})

# Help and version.
attends(0 ${PROGRAMME} --help)
if(NOT SORTIE MATCHES "convertis")
  message(FATAL_ERROR "help: ${SORTIE}")
endif()
attends(0 ${PROGRAMME} convertis --help)
if(NOT SORTIE MATCHES "UTF-16LE")
  message(FATAL_ERROR "convertis help: ${SORTIE}")
endif()
attends(0 ${PROGRAMME} demo --help)
attends(0 ${PROGRAMME} --version)
if(NOT SORTIE MATCHES "^outils-socle [0-9]")
  message(FATAL_ERROR "version: ${SORTIE}")
endif()
