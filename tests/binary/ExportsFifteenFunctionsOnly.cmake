# The dynamic symbols that the shared library defines: fifteen functions under one version node, nothing else.

set(expected
    AddUserData GetNalFromFrame GetNalUnit GetParameterSetData GetUserData ParseCreate ParseRelease ParseVideoParams
    QueryType RemoveUserData SetParameterSetData SetVideoData UserDataCreate UserDataRelease VideoSampleTest)
list(TRANSFORM expected APPEND "@@VIDEOPARAMS_1")

execute_process(COMMAND ${READELF} --dyn-syms --wide ${LIBRARY}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
# num: value size type bind visibility section name; an undefined symbol has section UND, the version node ABS.
string(REGEX MATCHALL "(GLOBAL|WEAK|UNIQUE) +[A-Z]+ +([0-9]+|ABS|COM) [^\n]+" exported "${symbols}")
list(TRANSFORM exported REPLACE "^.* " "")
list(FILTER exported EXCLUDE REGEX "^VIDEOPARAMS_1(@|$)")
list(SORT exported)

if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
