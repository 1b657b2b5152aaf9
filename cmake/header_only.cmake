# Finds the header-only libraries that nuvhost and the validator use.
if(CMAKE_CROSSCOMPILING)
  # The headers are those of the build machine. The cross-compiler gets links to them, and not the folder /usr/include,
  # because it must not find the build machine's other headers.
  foreach(library IN ITEMS CLI nlohmann)
    find_path(${library}_folder NAMES ${library} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/header_only)
    file(CREATE_LINK ${${library}_folder}/${library} ${CMAKE_BINARY_DIR}/header_only/${library} SYMBOLIC)
  endforeach()
  add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
  target_include_directories(CLI11::CLI11 SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/header_only)
  add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
  target_include_directories(nlohmann_json::nlohmann_json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/header_only)
else()
  find_package(CLI11 2.1 REQUIRED)
  find_package(nlohmann_json 3.11 REQUIRED)
endif()
