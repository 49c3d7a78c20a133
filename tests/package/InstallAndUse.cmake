# Installs into an empty prefix, moves it elsewhere, and builds and runs hosts from there: by find_package and by
# pkg-config, in C and C++, with the shared and the static library.

file(REMOVE_RECURSE "${WORK}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${WORK}/first"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(prefix "${WORK}/moved")
file(RENAME "${WORK}/first" "${prefix}")

execute_process(COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S "${CMAKE_CURRENT_LIST_DIR}" -B "${WORK}/host"
    -D CMAKE_PREFIX_PATH=${prefix} -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build "${WORK}/host" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_CTEST_COMMAND} --test-dir "${WORK}/host" --no-tests=error COMMAND_ERROR_IS_FATAL ANY)

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
set(ENV{LD_LIBRARY_PATH} "${prefix}/${LIBDIR}")
foreach(linkage "" --static)
    execute_process(COMMAND pkg-config ${linkage} --cflags --libs videoparams
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    if(linkage)
        list(TRANSFORM flags REPLACE "^-lVideoParams$" "-l:libVideoParams.a")
    endif()
    set(host "${WORK}/host-by-pkg-config${linkage}")
    execute_process(COMMAND ${CC} "${CMAKE_CURRENT_LIST_DIR}/Host.c" ${flags} -o ${host} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${host} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
if(TOOL)
    unset(ENV{LD_LIBRARY_PATH})
    execute_process(COMMAND "${prefix}/${BINDIR}/videoparams" --version COMMAND_ERROR_IS_FATAL ANY)
    foreach(file share/man/man1/videoparams.1 share/bash-completion/completions/videoparams
            share/zsh/site-functions/_videoparams share/fish/vendor_completions.d/videoparams.fish
            share/videoparams/videoparams.schema.json)
        if(NOT EXISTS "${prefix}/${file}")
            message(FATAL_ERROR "not installed: ${file}")
        endif()
    endforeach()
endif()
