# A host that builds the library from its sources gets the library alone, and that works.

file(REMOVE_RECURSE "${WORK}")
execute_process(COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S "${CMAKE_CURRENT_LIST_DIR}" -B "${WORK}"
    -D SUBPROJECT=${SOURCE} -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_CTEST_COMMAND} --test-dir "${WORK}" --no-tests=error COMMAND_ERROR_IS_FATAL ANY)
