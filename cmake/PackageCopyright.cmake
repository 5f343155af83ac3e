# CPack runs this on the files of the packages, each of which has to say by itself on what terms it comes.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  file(WRITE
       ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}/copyright
       "The owner of TALVOkrstream has not chosen a license yet.\n")
endforeach()
