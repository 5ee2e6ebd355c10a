# Read by cpack once for each package: which form goes into it.
list(GET CPACK_INSTALL_CMAKE_PROJECTS 0 build)
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_INSTALL_CMAKE_PROJECTS ${build} quillon system /)
else()
  set(CPACK_INSTALL_CMAKE_PROJECTS ${build} quillon portable /)
endif()
