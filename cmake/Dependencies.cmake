# videoparams_find_package(PACKAGE DEBIAN_PACKAGE OPTION): finds what a part of the build needs. If it is missing, the
# message says how to install it and which option turns the part off.
macro(videoparams_find_package package debianPackage option)
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
        videoparams_report_missing(${package} ${debianPackage} ${option})
    endif()
endmacro()

# Goes on, so that one run reports all that is missing.
function(videoparams_report_missing what debianPackage option)
    message(SEND_ERROR "${what} was not found. Install it (Debian: ${debianPackage}), or build without the part that needs "
        "it: -D${option}=OFF")
endfunction()
