# The DLL needs the two libraries that every Windows has: none of the compiler's, and none that prints to a screen,
# opens a window or reaches a network.

execute_process(COMMAND ${OBJDUMP} --private-headers ${DLL} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "DLL Name: [^\n]+" needed "${headers}")
list(TRANSFORM needed REPLACE "^.* " "")
list(SORT needed)

if(NOT needed STREQUAL "KERNEL32.dll;msvcrt.dll")
    message(FATAL_ERROR "needed: ${needed}")
endif()
