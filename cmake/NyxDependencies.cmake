# The libraries that NYX stands on. The containers inside a segment are Boost's, so a stored design depends on Boost's
# layout: exactly this version is accepted, and static_asserts beside the stored containers pin their sizes.
find_package(Boost 1.74.0 EXACT REQUIRED)
find_package(spdlog REQUIRED)
find_package(Microsoft.GSL REQUIRED)
# The coders of database files. Their packages for CMake differ between distributions; pkg-config's do not.
find_package(PkgConfig REQUIRED)
pkg_check_modules(nyx_lz4 REQUIRED IMPORTED_TARGET liblz4)
pkg_check_modules(nyx_zstd REQUIRED IMPORTED_TARGET libzstd)
find_package(Threads REQUIRED)

# What the readers, the writers and the command stand on.
option(NYX_TOOLS "Build the readers and writers of netlists and the command" ${PROJECT_IS_TOP_LEVEL})
if(NYX_TOOLS)
  find_package(CLI11 REQUIRED)
  find_package(ZLIB REQUIRED)
  find_package(nlohmann_json REQUIRED)
  pkg_check_modules(nyx_simdjson REQUIRED IMPORTED_TARGET simdjson)
  pkg_check_modules(nyx_smartcols REQUIRED IMPORTED_TARGET smartcols)
endif()

if(NYX_DEVELOPER)
  find_package(GTest REQUIRED)
  find_package(benchmark REQUIRED)
endif()
