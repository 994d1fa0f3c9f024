# The compiled lexicon's state and transition counts against OpenFst's minimal acceptor of the
# same words (one chain per word, determinised, minimised): every fourth French word, and the
# whole American English list.
file(REMOVE_RECURSE ${DOSSIER})
file(MAKE_DIRECTORY ${DOSSIER})
find_program(FSTCOMPILE fstcompile REQUIRED)

# The number after `etiquette` in a report.
function(nombre_apres texte etiquette variable)
  string(REGEX MATCH "${etiquette} +([0-9]+)" _ "${texte}")
  set(${variable} ${CMAKE_MATCH_1} PARENT_SCOPE)
endfunction()

function(compare liste pas)
  get_filename_component(nom ${liste} NAME)
  set(tranche ${DOSSIER}/${nom}.txt)
  # The same words for both sides.
  execute_process(COMMAND ${PYTHON} -c
    "import sys; l=[w for i,w in enumerate(open(sys.argv[1],encoding='utf-8')) if i%int(sys.argv[3])==0]; open(sys.argv[2],'w',encoding='utf-8').writelines(l)"
    ${liste} ${tranche} ${pas} RESULT_VARIABLE code)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "cannot read ${liste}")
  endif()

  execute_process(
    COMMAND ${PYTHON} ${SOURCE}/chaines_fst.py ${tranche}
    COMMAND fstcompile --acceptor
    COMMAND fstdeterminize
    COMMAND fstminimize
    COMMAND fstinfo
    OUTPUT_VARIABLE info RESULT_VARIABLE code)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "OpenFst failed on ${nom}: ${code}")
  endif()
  nombre_apres("${info}" "# of states" etats_fst)
  nombre_apres("${info}" "# of arcs" arcs_fst)

  execute_process(COMMAND ${PROGRAMME} lexique compile ${tranche} ${tranche}.aut RESULT_VARIABLE code OUTPUT_QUIET)
  execute_process(COMMAND ${PROGRAMME} lexique info ${tranche}.aut OUTPUT_VARIABLE info RESULT_VARIABLE code2)
  if(NOT code EQUAL 0 OR NOT code2 EQUAL 0)
    message(FATAL_ERROR "outils-socle lexique failed on ${nom}")
  endif()
  nombre_apres("${info}" "états" etats)
  nombre_apres("${info}" "transitions" transitions)

  message(STATUS "${nom}: OpenFst ${etats_fst} states, ${arcs_fst} arcs; ours ${etats} states, ${transitions} transitions")
  if(NOT etats_fst OR NOT etats STREQUAL etats_fst OR NOT transitions STREQUAL arcs_fst)
    message(FATAL_ERROR "${nom} not minimal: OpenFst ${etats_fst}/${arcs_fst}, ours ${etats}/${transitions}")
  endif()
endfunction()

compare(/usr/share/dict/french 4)
compare(/usr/share/dict/american-english 1)
