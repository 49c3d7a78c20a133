# Installs into an empty prefix, moves it elsewhere, and builds and runs hosts from there: with find_package and with
# pkg-config, in C and C++, with every library that was built.
include("${CMAKE_CURRENT_LIST_DIR}/Commands.cmake")

# The list of installed files belongs to the user's own installation.
set(manifest "${BUILD}/install_manifest.txt")
if(EXISTS "${manifest}")
    file(COPY_FILE "${manifest}" "${manifest}.kept")
endif()
run(${CMAKE_COMMAND} --install "${BUILD}" --prefix "${WORK}/first")
file(REMOVE "${manifest}")
if(EXISTS "${manifest}.kept")
    file(RENAME "${manifest}.kept" "${manifest}")
endif()
set(prefix "${WORK}/moved")
file(RENAME "${WORK}/first" "${prefix}")

build_hosts("${WORK}/host" "${LIBRARIES}" "-DCMAKE_PREFIX_PATH=${prefix}")

set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
set(ENV{LD_LIBRARY_PATH} "${prefix}/${LIBDIR}")
foreach(linkage "" --static)
    ask_pkg_config(flags --cflags --libs ${linkage})
    if(linkage)
        if(NOT EXISTS "${prefix}/${LIBDIR}/libVideoParams.a")
            continue()
        endif()
        list(TRANSFORM flags REPLACE "^-lVideoParams$" "-l:libVideoParams.a")
    endif()
    set(host "${WORK}/host-by-pkg-config${linkage}")
    run(${CC} "${CMAKE_CURRENT_LIST_DIR}/host/Host.c" ${flags} -o "${host}")
    run("${host}")
endforeach()
if(TOOL)
    unset(ENV{LD_LIBRARY_PATH})
    run("${prefix}/${BINDIR}/videoparams" --version)
    foreach(file share/man/man1/videoparams.1 share/bash-completion/completions/videoparams
            share/zsh/site-functions/_videoparams share/fish/vendor_completions.d/videoparams.fish
            share/videoparams/videoparams.schema.json)
        if(NOT EXISTS "${prefix}/${file}")
            message(FATAL_ERROR "not installed: ${file}")
        endif()
    endforeach()
endif()
