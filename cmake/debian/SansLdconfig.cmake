# Run by CPack after it has built the packages. CPack gives a package that holds a shared library
# postinst and postrm scripts calling ldconfig; Debian has replaced such calls with the ldconfig
# trigger, which the runtime package declares in its triggers file. This repacks the runtime
# package without the two scripts, leaving its files and other control data as they are.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  get_filename_component(nom ${deb} NAME)
  if(NOT nom MATCHES "^${CPACK_OUTILS_SOCLE_PAQUET_BIBLIOTHEQUE}_")
    continue()
  endif()
  set(dossier ${CPACK_PACKAGE_DIRECTORY}/sans-ldconfig)
  file(REMOVE_RECURSE ${dossier})
  execute_process(COMMAND dpkg-deb --raw-extract ${deb} ${dossier} RESULT_VARIABLE code)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "dpkg-deb cannot unpack ${deb}")
  endif()
  file(REMOVE ${dossier}/DEBIAN/postinst ${dossier}/DEBIAN/postrm)
  execute_process(COMMAND dpkg-deb --root-owner-group --build ${dossier} ${deb}
                  RESULT_VARIABLE code OUTPUT_QUIET)
  if(NOT code EQUAL 0)
    message(FATAL_ERROR "dpkg-deb cannot repack ${deb}")
  endif()
  file(REMOVE_RECURSE ${dossier})
endforeach()
