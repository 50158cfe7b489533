# What `cmake --install` puts where. Everything is relative to the prefix, so an installed tree can be moved: the package
# files and nyx.pc find the prefix from their own place, and libnyx.so finds the libraries beside it.
option(NYX_INSTALL "Make the install rules" ${PROJECT_IS_TOP_LEVEL})

# The storage headers, for tools that inspect images: nyx::internal. They carry no promise of stability. Code that reads
# rows in place needs the two options that the library itself is compiled with.
add_library(nyx_internal_headers INTERFACE)
add_library(nyx::internal ALIAS nyx_internal_headers)
set_target_properties(nyx_internal_headers PROPERTIES EXPORT_NAME internal)
target_include_directories(nyx_internal_headers INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/tools/cpp/nyx>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/nyx_internal>)
target_compile_options(nyx_internal_headers INTERFACE
  -fno-strict-aliasing $<$<CXX_COMPILER_ID:GNU>:-flifetime-dse=1>)
target_link_libraries(nyx_internal_headers INTERFACE nyx)

if(NOT NYX_INSTALL)
  return()
endif()

foreach(dir IN ITEMS ${CMAKE_INSTALL_LIBDIR} ${CMAKE_INSTALL_INCLUDEDIR})
  if(IS_ABSOLUTE ${dir})
    message(FATAL_ERROR "The install folder ${dir} must be relative to the prefix")
  endif()
endforeach()

include(CMakePackageConfigHelpers)

set(nyx_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/nyx)
set_target_properties(nyx nyx_common nyx_report nyx_barebones PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS nyx nyx_common nyx_report nyx_barebones nyx_internal_headers EXPORT nyx-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY tools/cpp/nyx/file tools/cpp/nyx/memory tools/cpp/nyx/names
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/nyx_internal
  FILES_MATCHING PATTERN "*.h" PATTERN "*.def")
# The command with what it tells of itself: its manual and its completions are made by the command that was just built.
if(TARGET nyx_command)
  set_target_properties(nyx_command PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS nyx_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  set(nyx_pages ${PROJECT_BINARY_DIR}/pages)
  install(CODE "
    file(MAKE_DIRECTORY [[${nyx_pages}]])
    execute_process(COMMAND [[$<TARGET_FILE:nyx_command>]] man OUTPUT_FILE [[${nyx_pages}/nyx.1]] COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND [[$<TARGET_FILE:nyx_command>]] completion bash OUTPUT_FILE [[${nyx_pages}/nyx]] COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND [[$<TARGET_FILE:nyx_command>]] completion fish OUTPUT_FILE [[${nyx_pages}/nyx.fish]] COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND [[$<TARGET_FILE:nyx_command>]] completion zsh OUTPUT_FILE [[${nyx_pages}/_nyx]] COMMAND_ERROR_IS_FATAL ANY)")
  install(FILES ${nyx_pages}/nyx.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${nyx_pages}/nyx DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${nyx_pages}/nyx.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  install(FILES ${nyx_pages}/_nyx DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()
install(EXPORT nyx-targets NAMESPACE nyx:: DESTINATION ${nyx_package_dir})

configure_package_config_file(cmake/nyx-config.cmake.in ${PROJECT_BINARY_DIR}/nyx-config.cmake
  INSTALL_DESTINATION ${nyx_package_dir}
  NO_SET_AND_CHECK_MACRO)
# Before version 1 a minor step may break callers.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/nyx-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/nyx-config.cmake ${PROJECT_BINARY_DIR}/nyx-config-version.cmake
  DESTINATION ${nyx_package_dir})

set(nyx_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${nyx_pkgconfig_dir} OUTPUT_VARIABLE nyx_prefix_from_pkgconfig_dir)
configure_file(cmake/nyx.pc.in ${PROJECT_BINARY_DIR}/nyx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/nyx.pc DESTINATION ${nyx_pkgconfig_dir})
