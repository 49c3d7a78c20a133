# A host that builds the library from source gets the library alone, and it works.
include("${CMAKE_CURRENT_LIST_DIR}/Commands.cmake")

build_hosts("${WORK}" "VideoParams;VideoParamsStatic" -D SUBPROJECT=${SOURCE})
