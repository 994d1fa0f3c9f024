# outils-socle lexique as a user runs it: an empty word list, and the damaged lexicons that
# used to make prefix and joker searches run for hours.
file(REMOVE_RECURSE ${DOSSIER})
file(MAKE_DIRECTORY ${DOSSIER})

function(attends code_attendu)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE code OUTPUT_VARIABLE sortie ERROR_VARIABLE erreur
                  TIMEOUT 60)
  if(NOT code STREQUAL code_attendu)
    message(FATAL_ERROR "${ARGN}: exit ${code}, expected ${code_attendu}\nstdout: ${sortie}\nstderr: ${erreur}")
  endif()
  set(SORTIE "${sortie}" PARENT_SCOPE)
  set(ERREUR "${erreur}" PARENT_SCOPE)
endfunction()

# An empty list compiles to the empty lexicon: 16 bytes, root 0xFFFFFFFF.
file(WRITE ${DOSSIER}/vide.txt "")
attends(0 ${PROGRAMME} lexique compile ${DOSSIER}/vide.txt ${DOSSIER}/vide.aut)
if(NOT SORTIE MATCHES "liste vide : lexique vide" OR SORTIE MATCHES "18446744073709551615")
  message(FATAL_ERROR "empty list: ${SORTIE}")
endif()
file(READ ${DOSSIER}/vide.aut hex HEX)
if(NOT hex STREQUAL "02000000ffffffff0000000000000000")
  message(FATAL_ERROR "empty lexicon bytes: ${hex}")
endif()
attends(0 ${PROGRAMME} lexique info ${DOSSIER}/vide.aut)
if(NOT SORTIE MATCHES "formes +0\n")
  message(FATAL_ERROR "empty lexicon info: ${SORTIE}")
endif()
attends(0 ${PROGRAMME} lexique prefixe ${DOSSIER}/vide.aut a)

# One word: one part.
file(WRITE ${DOSSIER}/un.txt "été\n")
attends(0 ${PROGRAMME} lexique compile ${DOSSIER}/un.txt ${DOSSIER}/un.aut)
if(NOT SORTIE MATCHES "construction de 1 partie ")
  message(FATAL_ERROR "one word: ${SORTIE}")
endif()

# Damaged lexicons: refused at once, with the library's message, exit status 1.
foreach(fichier lexique-chemins-exponentiels.aut lexique-corrections-exponentielles.aut)
  set(chemin ${DONNEES}/automates-endommages/${fichier})
  foreach(requete "prefixe|a;--limite;10" "joker|*" "corrige|les" "cherche|les")
    string(REPLACE "|" ";" requete "${requete}")
    list(POP_FRONT requete action)
    attends(1 ${PROGRAMME} lexique ${action} ${chemin} ${requete})
    if(NOT ERREUR MATCHES "Automate endommagé")
      message(FATAL_ERROR "${fichier} ${action}: ${ERREUR}")
    endif()
  endforeach()
endforeach()
