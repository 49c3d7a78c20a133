# For the tests of this folder.

# Runs a command, and fails with what it prints.
function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ECHO STDOUT OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(status)
        message(FATAL_ERROR "${output}\n${status}: ${ARGV}")
    endif()
endfunction()

# Builds and runs the hosts of host/ in FOLDER, with the libraries of the list. They find VideoParams by the arguments.
function(build_hosts folder libraries)
    list(JOIN libraries "\\;" libraries)
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S "${CMAKE_CURRENT_LIST_DIR}/host" -B "${folder}"
        "-DLIBRARIES=${libraries}" -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX} ${ARGN})
    run(${CMAKE_COMMAND} --build "${folder}")
    run(${CMAKE_CTEST_COMMAND} --test-dir "${folder}" --no-tests=error --output-on-failure)
endfunction()

# Sets the result to the list of flags that pkg-config prints.
function(ask_pkg_config result)
    execute_process(COMMAND pkg-config ${ARGN} videoparams
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    set(${result} ${flags} PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${WORK}")
