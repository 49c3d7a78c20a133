# The functions that the DLL exports: fifteen, nothing else.

set(expected
    AddUserData GetNalFromFrame GetNalUnit GetParameterSetData GetUserData ParseCreate ParseRelease ParseVideoParams
    QueryType RemoveUserData SetParameterSetData SetVideoData UserDataCreate UserDataRelease VideoSampleTest)

execute_process(COMMAND ${OBJDUMP} --private-headers ${DLL} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^.*\\[Ordinal/Name Pointer\\] Table" "" names "${headers}")
string(REGEX REPLACE "\n\n.*$" "" names "${names}")
string(REGEX MATCHALL "\t\\[ *[0-9]+\\] [^\n]+" exported "${names}")
list(TRANSFORM exported REPLACE "^.* " "")
list(SORT exported)

if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
