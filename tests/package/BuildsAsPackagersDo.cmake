# Builds with a packager's settings: the static library alone, another level of _FORTIFY_SOURCE, the prefix /usr, and a folder
# in which the files are collected. All settings are respected, and everything can be uninstalled.
include("${CMAKE_CURRENT_LIST_DIR}/Commands.cmake")

set(build "${WORK}/build")
run(${CMAKE_COMMAND} -G ${GENERATOR} -S "${SOURCE}" -B "${build}" -D CMAKE_CXX_COMPILER=${CXX} -D BUILD_SHARED_LIBS=OFF
    "-DCMAKE_CXX_FLAGS=-O1 -D_FORTIFY_SOURCE=1" -D CMAKE_EXPORT_COMPILE_COMMANDS=ON -D CMAKE_INSTALL_PREFIX=/usr
    -D CMAKE_INSTALL_LIBDIR=lib -D VIDEOPARAMS_BUILD_TESTS=OFF -D VIDEOPARAMS_BUILD_TOOL=OFF -D VIDEOPARAMS_BUILD_EXAMPLES=OFF)
run(${CMAKE_COMMAND} --build "${build}")
file(READ "${build}/compile_commands.json" commands)
if(commands MATCHES "-U_FORTIFY_SOURCE|_FORTIFY_SOURCE=2")
    message(SEND_ERROR "the level of _FORTIFY_SOURCE is not respected")
endif()

set(ENV{DESTDIR} "${WORK}/collected")
run(${CMAKE_COMMAND} --install "${build}")
unset(ENV{DESTDIR})
set(usr "${WORK}/collected/usr")
file(GLOB libraries RELATIVE "${usr}/lib" "${usr}/lib/lib*")
if(NOT libraries STREQUAL "libVideoParams.a")
    message(SEND_ERROR "installed: ${libraries}")
endif()

# /usr/include and /usr/lib need no flags. The library in C++ does: its name depends on the compiler.
set(ENV{PKG_CONFIG_LIBDIR} "${usr}/lib/pkgconfig")
ask_pkg_config(flags --cflags --libs)
if(NOT flags MATCHES "^-lVideoParams;-l(std)?c\\+\\+$")
    message(SEND_ERROR "pkg-config prints ${flags}")
endif()
run(${CC} "${CMAKE_CURRENT_LIST_DIR}/host/Host.c" "-I${usr}/include" "-L${usr}/lib" ${flags} -o "${WORK}/host")
run("${WORK}/host")
build_hosts("${WORK}/hosts" "VideoParams;VideoParamsStatic" "-DCMAKE_PREFIX_PATH=${usr}")

set(ENV{DESTDIR} "${WORK}/collected")
run(${CMAKE_COMMAND} --build "${build}" --target uninstall)
file(GLOB_RECURSE left "${WORK}/collected/*")
if(left)
    message(SEND_ERROR "not uninstalled: ${left}")
endif()
