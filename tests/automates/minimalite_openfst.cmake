# The compiled lexicon's state and transition counts against OpenFst's minimal acceptor of the
# same words (one chain per word, determinised, minimised), on every fourth French word.
file(REMOVE_RECURSE ${DOSSIER})
file(MAKE_DIRECTORY ${DOSSIER})
set(LISTE /usr/share/dict/french)
find_program(FSTCOMPILE fstcompile REQUIRED)

# The number after `etiquette` in a report.
function(nombre_apres texte etiquette variable)
  string(REGEX MATCH "${etiquette} +([0-9]+)" _ "${texte}")
  set(${variable} ${CMAKE_MATCH_1} PARENT_SCOPE)
endfunction()

# The same slice for both sides.
execute_process(COMMAND ${PYTHON} -c
  "import sys; l=[w for i,w in enumerate(open(sys.argv[1],encoding='utf-8')) if i%4==0]; open(sys.argv[2],'w',encoding='utf-8').writelines(l)"
  ${LISTE} ${DOSSIER}/tranche.txt RESULT_VARIABLE code)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "cannot slice ${LISTE}")
endif()

execute_process(
  COMMAND ${PYTHON} ${SOURCE}/chaines_fst.py ${DOSSIER}/tranche.txt
  COMMAND fstcompile --acceptor
  COMMAND fstdeterminize
  COMMAND fstminimize
  COMMAND fstinfo
  OUTPUT_VARIABLE info RESULT_VARIABLE code)
if(NOT code EQUAL 0)
  message(FATAL_ERROR "OpenFst failed: ${code}")
endif()
nombre_apres("${info}" "# of states" etats_fst)
nombre_apres("${info}" "# of arcs" arcs_fst)

execute_process(COMMAND ${PROGRAMME} lexique compile ${DOSSIER}/tranche.txt ${DOSSIER}/tranche.aut
                RESULT_VARIABLE code OUTPUT_QUIET)
execute_process(COMMAND ${PROGRAMME} lexique info ${DOSSIER}/tranche.aut OUTPUT_VARIABLE info RESULT_VARIABLE code2)
if(NOT code EQUAL 0 OR NOT code2 EQUAL 0)
  message(FATAL_ERROR "outils-socle lexique failed")
endif()
nombre_apres("${info}" "états" etats)
nombre_apres("${info}" "transitions" transitions)

message(STATUS "OpenFst: ${etats_fst} states, ${arcs_fst} arcs; ours: ${etats} states, ${transitions} transitions")
if(NOT etats_fst OR NOT etats STREQUAL etats_fst OR NOT transitions STREQUAL arcs_fst)
  message(FATAL_ERROR "not minimal: OpenFst ${etats_fst}/${arcs_fst}, ours ${etats}/${transitions}")
endif()
