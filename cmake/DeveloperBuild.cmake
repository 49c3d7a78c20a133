# Settings for the project's own builds. If the library is part of another project, that project's settings stay.

if(PROJECT_IS_TOP_LEVEL)
    get_property(isMultiConfig GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
    if(NOT isMultiConfig AND NOT CMAKE_BUILD_TYPE)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
    endif()

    # Windows searches for a DLL in the folder of the program.
    if(WIN32 AND NOT CMAKE_RUNTIME_OUTPUT_DIRECTORY)
        set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    endif()

    if(VIDEOPARAMS_BUILD_FUZZ)
        if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            message(FATAL_ERROR "VIDEOPARAMS_BUILD_FUZZ needs clang (use the preset \"fuzz\")")
        endif()
        if(NOT VIDEOPARAMS_SANITIZE)
            set(VIDEOPARAMS_SANITIZE "fuzzer-no-link,address,undefined")
        endif()
    endif()
    if(VIDEOPARAMS_SANITIZE)
        add_compile_options(-fsanitize=${VIDEOPARAMS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
        add_link_options(-fsanitize=${VIDEOPARAMS_SANITIZE})
    endif()
endif()

# Language level and warnings for a target of this project. They do not affect targets that link it.
function(videoparams_configure_target target)
    set_target_properties(${target} PROPERTIES
        CXX_STANDARD 20
        CXX_STANDARD_REQUIRED ON
        CXX_EXTENSIONS OFF
        C_STANDARD 11
        C_STANDARD_REQUIRED ON
        C_EXTENSIONS OFF)
    if(PROJECT_IS_TOP_LEVEL AND NOT MSVC)
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wshadow -Wconversion $<$<BOOL:${VIDEOPARAMS_WERROR}>:-Werror>)
    endif()
endfunction()

# Compiles the sources of a target, or those of the named folders, several at a time: what they include is then read, and
# instantiated, once for all. A source may then use what only another one includes, so not all builds do this.
function(videoparams_unite_sources target part)
    if(NOT part IN_LIST VIDEOPARAMS_UNITE_SOURCES)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
    # For g++, the unnamed namespaces of the sources are then those of included files.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
    foreach(group ${ARGN})
        file(GLOB sources CONFIGURE_DEPENDS ${group}/*.cpp)
        set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${group})
        set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
    endforeach()
endfunction()
