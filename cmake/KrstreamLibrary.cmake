include(CheckCXXCompilerFlag)
include(GenerateExportHeader)

# Blocks and records are copied by the C library, which knows the processor. A string instruction, which the compiler would
# put in its place, takes longer to start than such a copy takes.
set(copies_by_the_library -mmemcpy-strategy=unrolled_loop:64:noalign,libcall:-1:noalign
                          -mmemset-strategy=unrolled_loop:64:noalign,libcall:-1:noalign)
check_cxx_compiler_flag("${copies_by_the_library}" TALVOkrstream_COPIES_BY_THE_LIBRARY)

# krstream_add_library(NAME BASE_DIR dir HEADERS ... PUBLIC_LIBRARIES ... PRIVATE_LIBRARIES ...)
#
# Makes the shared library NAME (also NAMESPACE::NAME) and NAME_static, the same objects as a static library for tests
# that look below the exported classes. A program links one of the two, never both: the copy in the
# program would silently take the place of the copy in the shared library. The folders add their sources to NAME.
function(krstream_add_library name)
  cmake_parse_arguments(arg "" "BASE_DIR" "HEADERS;PUBLIC_LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
  string(TOUPPER ${name} upper)
  set(generated ${PROJECT_BINARY_DIR}/generated/${name})

  add_library(${name} SHARED)
  add_library(TALVOkrstream::${name} ALIAS ${name})
  generate_export_header(${name} BASE_NAME ${upper} EXPORT_FILE_NAME ${generated}/${name}/Export.h)
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${arg_BASE_DIR} ${generated}
                                FILES ${arg_HEADERS} ${generated}/${name}/Export.h)
  target_compile_features(${name} PUBLIC cxx_std_17)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  set_target_properties(
    ${name}
    PROPERTIES CXX_EXTENSIONS OFF
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL}
               VERSION ${PROJECT_VERSION}
               SOVERSION ${PROJECT_VERSION_MAJOR})
  # A symbol that no linked library has is an error when the library is built, not when it is loaded. With clang, the program
  # brings the symbols of the sanitizers.
  target_link_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wl,-z,defs>)
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC_LIBRARIES} PRIVATE ${arg_PRIVATE_LIBRARIES})
  # Nobody puts other functions in the place of this library's: its own calls of them need not look them up.
  target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  if(TALVOkrstream_COPIES_BY_THE_LIBRARY)
    target_compile_options(${name} PRIVATE ${copies_by_the_library})
  endif()
  if(TALVOkrstream_COVERAGE)
    target_compile_options(${name} PRIVATE --coverage)
    target_link_options(${name} PUBLIC --coverage)
  endif()

  add_library(${name}_static STATIC EXCLUDE_FROM_ALL $<TARGET_OBJECTS:${name}>)
  target_include_directories(${name}_static INTERFACE ${CMAKE_CURRENT_SOURCE_DIR}/${arg_BASE_DIR} ${generated})
  target_compile_features(${name}_static INTERFACE cxx_std_17)
  list(TRANSFORM arg_PUBLIC_LIBRARIES REPLACE "^(TALVO.*)$" "\\1_static")
  target_link_options(${name}_static INTERFACE $<TARGET_PROPERTY:${name},INTERFACE_LINK_OPTIONS>)
  target_link_libraries(${name}_static PUBLIC ${arg_PUBLIC_LIBRARIES} PRIVATE ${arg_PRIVATE_LIBRARIES})
endfunction()
