# What `cmake --install` puts where a distribution looks for it, in three components: runtime (the shared libraries),
# development (what compiling against them needs) and tool. The static twins are for the tests and stay here.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(libraries TALVOkrstream TALVOutl)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/TALVOkrstream)
set(generated ${PROJECT_BINARY_DIR}/package)

install(
  TARGETS ${libraries}
  EXPORT TALVOkrstreamTargets
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILE_SET HEADERS COMPONENT development)
install(
  EXPORT TALVOkrstreamTargets
  NAMESPACE TALVOkrstream::
  DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(cmake/TALVOkrstreamConfig.cmake.in ${generated}/TALVOkrstreamConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
# Before 1.0 a new minor version may change the interface: who asks for 0.1 gets 0.1.x only.
write_basic_package_version_file(${generated}/TALVOkrstreamConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(
  FILES ${generated}/TALVOkrstreamConfig.cmake ${generated}/TALVOkrstreamConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

# Paths start at the .pc file, for the prefix may be chosen when the files are installed, and the tree moved later.
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
foreach(library IN LISTS libraries)
  configure_file(cmake/${library}.pc.in ${generated}/${library}.pc @ONLY)
  install(
    FILES ${generated}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()
