# Hardening options for the library's objects and for the shared library, on ELF systems.

function(videoparams_harden_objects target)
    if(WIN32 OR APPLE)
        return()
    endif()
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
    # Fortified calls need optimisation, and would hide the same calls from a sanitizer.
    if(NOT VIDEOPARAMS_SANITIZE)
        target_compile_options(${target} PRIVATE
            "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
    endif()
endfunction()

function(videoparams_harden_shared_library target)
    if(WIN32 OR APPLE)
        return()
    endif()
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now,-z,noexecstack,-z,text)
    # The executable contains the runtime of a sanitizer.
    if(NOT VIDEOPARAMS_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,-z,defs)
    endif()
endfunction()
