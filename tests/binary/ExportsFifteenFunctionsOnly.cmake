# The dynamic symbols that the shared library defines: fifteen functions under one version node, nothing else.

set(expected
    AddUserData GetNalFromFrame GetNalUnit GetParameterSetData GetUserData ParseCreate ParseRelease ParseVideoParams
    QueryType RemoveUserData SetParameterSetData SetVideoData UserDataCreate UserDataRelease VideoSampleTest)
list(TRANSFORM expected REPLACE "(.+)" "T \\1@@VIDEOPARAMS_1")

execute_process(COMMAND ${NM} -D --defined-only --with-symbol-versions ${LIBRARY}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[A-Za-z] [^ \n]+" exported "${symbols}")
list(FILTER exported EXCLUDE REGEX "^A VIDEOPARAMS_1(@@VIDEOPARAMS_1)?$")  # the node itself
list(SORT exported)

if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
