include(GenerateExportHeader)

# krstream_add_library(NAME BASE_DIR dir HEADERS ... [SOURCES ...]
#                      PUBLIC_LIBRARIES ... PRIVATE_LIBRARIES ...)
#
# Makes the shared library NAME (also NAMESPACE::NAME) and NAME_static, the same sources as a static library for tests
# that look below the exported classes. A program links one of the two, never both: the copy in the
# program would silently take the place of the copy in the shared library.
function(krstream_add_library name)
  cmake_parse_arguments(arg "" "BASE_DIR" "HEADERS;SOURCES;PUBLIC_LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
  string(TOUPPER ${name} upper)
  set(generated ${PROJECT_BINARY_DIR}/generated/${name})

  add_library(${name} SHARED)
  add_library(TALVOkrstream::${name} ALIAS ${name})
  add_library(${name}_static STATIC EXCLUDE_FROM_ALL)
  generate_export_header(${name} BASE_NAME ${upper} EXPORT_FILE_NAME ${generated}/${name}/Export.h)
  target_compile_definitions(${name}_static PUBLIC ${upper}_STATIC_DEFINE)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  # A symbol that no linked library has is an error when the library is built, not when it is loaded.
  target_link_options(${name} PRIVATE -Wl,-z,defs)

  foreach(target ${name} ${name}_static)
    target_sources(
      ${target}
      PRIVATE ${arg_SOURCES}
      PUBLIC FILE_SET HEADERS BASE_DIRS ${arg_BASE_DIR} ${generated}
             FILES ${arg_HEADERS} ${generated}/${name}/Export.h)
    target_compile_features(${target} PUBLIC cxx_std_17)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
    set_target_properties(
      ${target}
      PROPERTIES CXX_EXTENSIONS OFF
                 CXX_VISIBILITY_PRESET hidden
                 VISIBILITY_INLINES_HIDDEN ON
                 POSITION_INDEPENDENT_CODE ON)
  endforeach()
  set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)

  _krstream_link(${name} "" ${ARGN})
  _krstream_link(${name}_static "_static" ${ARGN})
endfunction()

# Links TARGET; a library of this project gets SUFFIX, so that a static twin links static twins.
function(_krstream_link target suffix)
  cmake_parse_arguments(arg "" "BASE_DIR" "HEADERS;SOURCES;PUBLIC_LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
  foreach(scope PUBLIC PRIVATE)
    foreach(library ${arg_${scope}_LIBRARIES})
      if(library MATCHES "^TALVO")
        string(APPEND library "${suffix}")
      endif()
      target_link_libraries(${target} ${scope} ${library})
    endforeach()
  endforeach()
endfunction()

# krstream_add_sources(NAME SOURCE...): adds a folder's sources to the library NAME and to its static twin.
function(krstream_add_sources name)
  target_sources(${name} PRIVATE ${ARGN})
  target_sources(${name}_static PRIVATE ${ARGN})
endfunction()
