# The Debian packages that `cpack` makes of the components; scripts/package runs it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The TALVOkrstream developers <root@localhost>")
# Each package has a summary of its own, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageCopyright.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TALVOkrstream_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SOURCE talvokrstream)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tool's libraries are in no package that is installed yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/utl)
# What is linked with one version runs with that version only, as long as the interface may change.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtalvokrstream${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "many named byte streams inside one ordinary file - shared libraries
The library keeps many named byte streams, called entries, in one file of
1024-byte blocks. Each entry is a standard iostream; single entries can be
read, rewritten, added and deleted without rewriting the others.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtalvokrstream-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "many named byte streams inside one ordinary file - development files
The library keeps many named byte streams, called entries, in one file of
1024-byte blocks.

This package has what compiling C++ programs against the library needs: the
headers, a CMake package and pkg-config files.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME krstream)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOL_DEPENDS runtime)
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "make, list, extract and repair files of many named byte streams
The command krstream works on compound files, which keep many named byte
streams in one file of 1024-byte blocks: it packs files and folders, lists
and extracts them, sets passwords, compacts, checks and repairs.")

include(CPack)
