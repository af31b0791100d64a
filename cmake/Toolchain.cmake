# Compiler settings shared by every target of ours (not by third-party code).
add_library(ts_options INTERFACE)
if(MSVC)
  target_compile_options(ts_options INTERFACE /W4 /permissive-)
else()
  target_compile_options(ts_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                              -Wcast-align -Woverloaded-virtual -Wformat=2 -Wno-format-nonliteral)
endif()

if(TS_WINDOWS)
  # windows.h's min and max macros would break std::min and std::max in our code.
  add_compile_definitions(NOMINMAX)
endif()

if(TS_SANITIZE AND NOT TS_WINDOWS)
  set(TS_SANITIZER_FLAGS -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_compile_options(${TS_SANITIZER_FLAGS})
  add_link_options(${TS_SANITIZER_FLAGS})
endif()

# Fuzz targets need clang's libFuzzer; without it they still build as corpus runners.
set(TS_LIBFUZZER OFF)
if(NOT TS_WINDOWS AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  set(TS_LIBFUZZER ON)
endif()

# One test executable from sources; its cases run as separate tests.
function(ts_add_gtest name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE ts_options GTest::gtest_main)
  if(TS_WINDOWS)
    # Discovering under Wine at test time keeps the build free of Wine runs.
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 TEST_PREFIX "${name}."
                         WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  else()
    gtest_discover_tests(${name} TEST_PREFIX "${name}." WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
  endif()
endfunction()

# Sources of ours compiled again with coverage for a fuzzer, as objects so that every chunk
# registrer among them links.
function(ts_add_fuzz_objects name)
  add_library(${name} OBJECT ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
  target_link_libraries(${name} PRIVATE ts_options)
endfunction()

# The sources of one of our libraries, in folder, as full paths: for ts_add_fuzz_objects.
function(ts_sources_of out target folder)
  get_target_property(sources ${target} SOURCES)
  list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/${folder}/)
  set(${out} ${sources} PARENT_SCOPE)
endfunction()

# A libFuzzer target; also registered as a test that runs it over its seed corpus.
function(ts_add_fuzzer name corpus_dir)
  if(NOT TS_LIBFUZZER)
    return()
  endif()
  add_executable(${name} ${ARGN})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE ts_options)
  add_test(NAME ${name}.corpus COMMAND ${name} -runs=0 ${corpus_dir})
endfunction()
