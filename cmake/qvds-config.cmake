# find_package(qvds) gives qvds::qvds_static, and qvds::qvds: the shared library if it was built, the
# static one otherwise.
foreach(component IN LISTS qvds_FIND_COMPONENTS)
  if(qvds_FIND_REQUIRED_${component})
    set(qvds_FOUND FALSE)
    set(qvds_NOT_FOUND_MESSAGE "qvds has no components, but \"${component}\" was asked for")
    return()
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/qvds-targets.cmake)
if(NOT TARGET qvds::qvds)
  add_library(qvds::qvds ALIAS qvds::qvds_static)
endif()
