# The program's version, from project(): one generated header that every
# executable includes as "VordaVersion.h" by linking vorda_version.
configure_file(${CMAKE_CURRENT_LIST_DIR}/VordaVersion.h.in
  ${PROJECT_BINARY_DIR}/generated/VordaVersion.h @ONLY)
add_library(vorda_version INTERFACE)
target_include_directories(vorda_version INTERFACE ${PROJECT_BINARY_DIR}/generated)
