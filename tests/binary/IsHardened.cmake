# Full RELRO, no executable stack, no text relocations, stack protector, and the SONAME that hosts link to.

execute_process(COMMAND ${READELF} --dynamic --wide ${LIBRARY} OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${READELF} --program-headers --wide ${LIBRARY}
    OUTPUT_VARIABLE segments COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${READELF} --dyn-syms --wide ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

function(expect text pattern meaning)
    if(NOT text MATCHES "${pattern}")
        message(SEND_ERROR "${meaning}: no \"${pattern}\" in\n${text}")
    endif()
endfunction()

expect("${dynamic}" "\\(SONAME\\)[^\n]*\\[libVideoParams\\.so\\.1\\]" "SONAME")
expect("${dynamic}" "(BIND_NOW|Flags: [^\n]*NOW)" "symbols are bound at load time")
expect("${segments}" "GNU_RELRO" "relocated data is read-only")
expect("${segments}" "GNU_STACK[^\n]* RW +0x" "the stack is not executable")
expect("${symbols}" " UND __stack_chk_fail" "stack protector")
if(dynamic MATCHES "TEXTREL")
    message(SEND_ERROR "there are text relocations")
endif()
