# One function a kind of target. Everything that compiles NYX code links nyx_compile_options.

add_library(nyx_compile_options INTERFACE)
target_compile_features(nyx_compile_options INTERFACE cxx_std_20)
target_compile_options(nyx_compile_options INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wimplicit-fallthrough
  # GCC 12 takes the short buffer of a std::string for all that the string has.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds>
  # Rows are re-typed while they are free and block headers overlap user bytes, so accesses of two types to one word are
  # ordered by the program text and not by their types.
  -fno-strict-aliasing
  # A row's storage keeps its meaning outside the life of the C++ object on it.
  $<$<CXX_COMPILER_ID:GNU>:-flifetime-dse=1>
  # Texts of failures name a source below the project, whatever the folder it was built in.
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(NYX_SANITIZE)
  set(nyx_sanitizers -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_compile_options(nyx_compile_options INTERFACE ${nyx_sanitizers})
  target_link_options(nyx_compile_options INTERFACE ${nyx_sanitizers})
endif()
if(NYX_COVERAGE)
  target_compile_options(nyx_compile_options INTERFACE --coverage)
  target_link_options(nyx_compile_options INTERFACE --coverage)
endif()

if(NYX_FUZZ)
  # The library's branches guide the fuzzer; the targets alone link its main program.
  target_compile_options(nyx_compile_options INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(nyx_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# nyx_add_library(NAME SOURCES ... HEADERS ... [LINK ...]): a shared, versioned, installed library nyx::NAME. Its public
# headers are a header set: each is also compiled alone by the target all_verify_interface_header_sets.
function(nyx_add_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;HEADERS;LINK" ${ARGN})
  add_library(${name} SHARED ${arg_SOURCES})
  add_library(nyx::${name} ALIAS ${name})
  target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR}/tools/cpp/h FILES ${arg_HEADERS})
  target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:nyx_compile_options> PUBLIC ${arg_LINK})
  target_compile_features(${name} PUBLIC cxx_std_20)
  set(exports ${PROJECT_SOURCE_DIR}/cmake/nyx_exports.map)
  target_link_options(${name} PRIVATE
    -Wl,--version-script=${exports}
    # What is missing shows here and not in the first program that links the library. (Sanitizers add what they resolve
    # at run time.)
    $<$<NOT:$<BOOL:${NYX_SANITIZE}>>:-Wl,--no-undefined>)
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${exports})
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    VERIFY_INTERFACE_HEADER_SETS ON)
endfunction()

# nyx_precompile(TARGET HEADER ...): headers that are read once for all sources of a target. Sources include what they need
# all the same.
function(nyx_precompile target)
  list(TRANSFORM ARGN REPLACE "(.+)" "<\\1>" OUTPUT_VARIABLE headers)
  target_precompile_headers(${target} PRIVATE ${headers})
  # For the compiler cache, which looks at what the compiler reads.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()

# A test's own code runs for no time and is compiled for long: what is tested is optimised, the test is not.
function(nyx_make_test_quickly target)
  target_compile_options(${target} PRIVATE -O0)
endfunction()

# nyx_add_test(NAME SOURCES ... [LINK ...] [LINK_ONLY ...]): one GoogleTest program that sees the library's internals; every
# test in it is a CTest. LINK_ONLY names the libraries to link in place of the internals.
function(nyx_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK;LINK_ONLY" ${ARGN})
  set(internal OFF)
  if(NOT arg_LINK_ONLY)
    set(arg_LINK_ONLY nyx_internal)
    set(internal ON)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE
    nyx_compile_options ${arg_LINK_ONLY} nyx_test_support GTest::gtest GTest::gtest_main ${arg_LINK})
  nyx_make_test_quickly(${name})
  if(internal)
    target_precompile_headers(${name} REUSE_FROM nyx_test_headers)
    target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 900)
endfunction()

# nyx_add_bench(NAME SOURCES ...): one Google Benchmark program under bench/, run by `make bench`.
function(nyx_add_bench name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE nyx_internal nyx_bench_support ${arg_LINK})
  set_property(GLOBAL APPEND PROPERTY NYX_BENCHMARKS ${name})
endfunction()
