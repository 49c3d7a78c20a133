# Hardening of the library's objects and of the shared library. Flags are used if the compiler or linker knows them.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

# Sets the result if neither the user's flags nor the compiler itself choose a level of _FORTIFY_SOURCE.
function(videoparams_has_free_fortify_level result)
    string(TOUPPER "${CMAKE_BUILD_TYPE}" configuration)
    set(CMAKE_REQUIRED_FLAGS "${CMAKE_CXX_FLAGS_${configuration}} -O2")
    check_cxx_source_compiles("
        #ifdef _FORTIFY_SOURCE
        #error it is set
        #endif
        int main() {}" ${result})
endfunction()

function(videoparams_harden_objects target)
    check_cxx_compiler_flag(-fstack-protector-strong VIDEOPARAMS_HAS_STACK_PROTECTOR)
    if(VIDEOPARAMS_HAS_STACK_PROTECTOR AND NOT WIN32)
        target_compile_options(${target} PRIVATE -fstack-protector-strong)
    endif()
    # Fortified calls need optimisation, and would hide the same calls from a sanitizer.
    videoparams_has_free_fortify_level(VIDEOPARAMS_HAS_FREE_FORTIFY_LEVEL)
    if(VIDEOPARAMS_HAS_FREE_FORTIFY_LEVEL AND NOT WIN32 AND NOT VIDEOPARAMS_SANITIZE)
        target_compile_options(${target} PRIVATE
            "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>")
    endif()
endfunction()

function(videoparams_harden_shared_library target)
    set(flags -Wl,-z,relro,-z,now,-z,noexecstack,-z,text)
    check_linker_flag(CXX ${flags} VIDEOPARAMS_HAS_LINKER_HARDENING)
    if(NOT VIDEOPARAMS_HAS_LINKER_HARDENING)
        return()
    endif()
    target_link_options(${target} PRIVATE ${flags})
    # The runtime of a sanitizer comes with the executable.
    if(NOT VIDEOPARAMS_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
endfunction()
