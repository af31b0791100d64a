# GoogleTest from Debian's source package, built with our compilers for either build.
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
if(NOT TARGET GTest::gtest_main)
  add_library(GTest::gtest_main ALIAS gtest_main)
  add_library(GTest::gtest ALIAS gtest)
endif()

# Header-only packages: only their own folders, never /usr/include itself, which
# would put glibc headers in front of the cross compiler.
add_library(ts_stb INTERFACE)
target_include_directories(ts_stb SYSTEM INTERFACE /usr/include/stb)
add_library(ts_rapidxml INTERFACE)
target_include_directories(ts_rapidxml SYSTEM INTERFACE /usr/include/rapidxml)

# libbzip2: Debian's libbz2-dev natively; its source package cross-compiled for Windows.
if(TS_WINDOWS)
  if(NOT EXISTS "${TS_BZIP2_SOURCE}/bzlib.h")
    message(FATAL_ERROR "bzip2 source not found at '${TS_BZIP2_SOURCE}'; run ./test or ./run, which fetch it")
  endif()
  add_library(ts_bz2 STATIC
    ${TS_BZIP2_SOURCE}/blocksort.c ${TS_BZIP2_SOURCE}/huffman.c ${TS_BZIP2_SOURCE}/crctable.c
    ${TS_BZIP2_SOURCE}/randtable.c ${TS_BZIP2_SOURCE}/compress.c ${TS_BZIP2_SOURCE}/decompress.c
    ${TS_BZIP2_SOURCE}/bzlib.c)
  target_include_directories(ts_bz2 SYSTEM PUBLIC ${TS_BZIP2_SOURCE})
  target_compile_options(ts_bz2 PRIVATE -w)
else()
  find_package(BZip2 REQUIRED)
  add_library(ts_bz2 INTERFACE)
  target_link_libraries(ts_bz2 INTERFACE BZip2::BZip2)
endif()
