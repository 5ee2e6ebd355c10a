# The target CLI11::CLI11. A cross compiler must not see the other headers of the host's /usr/include, so those of
# CLI11, which fit every system, are copied.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(CLI11 REQUIRED)  # libcli11-dev; scripts/setup installs it
else()
  file(COPY /usr/include/CLI DESTINATION ${CMAKE_BINARY_DIR}/include)
  add_library(CLI11::CLI11 INTERFACE IMPORTED)
  target_include_directories(CLI11::CLI11 INTERFACE ${CMAKE_BINARY_DIR}/include)
endif()
