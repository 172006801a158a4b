# The build machine's own mkconfig (and uwserver, when the tests are built), for a cross build whose programs
# cannot run here: the target host_tools, and their paths in ORN_HOST_MKCONFIG and ORN_HOST_UWSERVER.
include(ExternalProject)
set(ORN_HOST_DIR ${CMAKE_BINARY_DIR}/host)
set(ORN_HOST_MKCONFIG ${ORN_HOST_DIR}/bin/mkconfig${CMAKE_HOST_EXECUTABLE_SUFFIX})
set(ORN_HOST_UWSERVER ${ORN_HOST_DIR}/bin/uwserver${CMAKE_HOST_EXECUTABLE_SUFFIX})
set(host_byproducts ${ORN_HOST_MKCONFIG})
if(ORN_BUILD_TESTS)
    list(APPEND host_byproducts ${ORN_HOST_UWSERVER})
endif()
ExternalProject_Add(host_tools
    SOURCE_DIR ${PROJECT_SOURCE_DIR}/tools/host
    BINARY_DIR ${ORN_HOST_DIR}
    CMAKE_ARGS -DCMAKE_BUILD_TYPE=Release -DORN_HOST_UWSERVER=${ORN_BUILD_TESTS}
    INSTALL_COMMAND ""
    BUILD_ALWAYS ON
    BUILD_BYPRODUCTS ${host_byproducts}
)
