# If a library for tests, tool or benchmark is missing, CMake says how to install it and how to build without it.
include("${CMAKE_CURRENT_LIST_DIR}/Commands.cmake")

set(missing GTest CLI11 fmt nlohmann_json benchmark PkgConfig)
list(TRANSFORM missing PREPEND -DCMAKE_DISABLE_FIND_PACKAGE_ OUTPUT_VARIABLE disabled)
list(TRANSFORM disabled APPEND =ON)
execute_process(COMMAND ${CMAKE_COMMAND} -G ${GENERATOR} -S "${SOURCE}" -B "${WORK}" -D CMAKE_C_COMPILER=${CC}
    -D CMAKE_CXX_COMPILER=${CXX} ${disabled} -D VIDEOPARAMS_BUILD_TESTS=ON -D VIDEOPARAMS_BUILD_TOOL=ON
    -D VIDEOPARAMS_TOOL_CONTAINERS=ON -D VIDEOPARAMS_BUILD_BENCH=ON
    OUTPUT_QUIET ERROR_VARIABLE printed RESULT_VARIABLE status)
if(status EQUAL 0)
    message(SEND_ERROR "cmake succeeds without ${missing}")
endif()
string(REGEX REPLACE "[ \n]+" " " printed "${printed}")
foreach(expected "GTest was not found.*VIDEOPARAMS_BUILD_TESTS=OFF" "CLI11 was not found.*VIDEOPARAMS_BUILD_TOOL=OFF"
        "fmt was not found.*VIDEOPARAMS_BUILD_TOOL=OFF" "nlohmann_json was not found.*VIDEOPARAMS_BUILD_TOOL=OFF"
        "libavformat was not found.*VIDEOPARAMS_TOOL_CONTAINERS=OFF"
        "benchmark was not found.*VIDEOPARAMS_BUILD_BENCH=OFF")
    if(NOT printed MATCHES "${expected}")
        message(SEND_ERROR "cmake does not print \"${expected}\":\n${printed}")
    endif()
endforeach()
