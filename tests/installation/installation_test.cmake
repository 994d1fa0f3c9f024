# Installs the built library into a fresh prefix and checks it as a user would (see
# Consommateur.cmake).
include(${SOURCE}/tests/installation/Consommateur.cmake)
file(REMOVE_RECURSE ${TRAVAIL})
lance(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TRAVAIL}/prefixe)
verifie_installation(${TRAVAIL}/prefixe ${TRAVAIL}/verification ${GENERATEUR})
