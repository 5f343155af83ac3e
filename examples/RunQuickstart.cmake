# Runs PROGRAM twice in the fresh folder FOLDER: first it makes its file, then it finds one.
set(parts "settings: 12 bytes\nnotes: 11 bytes\n")

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
foreach(expected "${parts}Call back.\n" "${parts}kravonel_block_file_free_list: 24 bytes\nCall back.\n")
  execute_process(
    COMMAND ${PROGRAM}
    WORKING_DIRECTORY ${FOLDER}
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  if(NOT output STREQUAL expected)
    message(FATAL_ERROR "Expected:\n${expected}\nbut it said:\n${output}")
  endif()
endforeach()
