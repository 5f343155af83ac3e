# Runs PROGRAM in the fresh folder FOLDER, once for each element of OUTPUTS, which is what that run has to say.
file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
foreach(expected IN LISTS OUTPUTS)
  execute_process(
    COMMAND ${PROGRAM}
    WORKING_DIRECTORY ${FOLDER}
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
  if(NOT output STREQUAL expected)
    message(FATAL_ERROR "Expected:\n${expected}\nbut it said:\n${output}")
  endif()
endforeach()
