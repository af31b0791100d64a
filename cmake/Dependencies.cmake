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
# tinygltf, tinyobjloader and nlohmann-json sit directly in /usr/include: the setup step
# links them into a folder of the build tree.
set(TS_IMPORT_HEADERS "${PROJECT_SOURCE_DIR}/build/deps/import-headers" CACHE PATH
    "The import parsers' headers, linked there by cmake/setup.sh")
if(NOT EXISTS "${TS_IMPORT_HEADERS}/tiny_gltf.h")
  message(FATAL_ERROR "'${TS_IMPORT_HEADERS}/tiny_gltf.h' not found; run ./test or ./run, which link it")
endif()
add_library(ts_import_parsers INTERFACE)
target_include_directories(ts_import_parsers SYSTEM INTERFACE ${TS_IMPORT_HEADERS})

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

# JPEG and PNG: Debian's libjpeg-turbo, libpng and zlib natively. For Windows, the
# libjpeg-turbo and libpng source packages built by their own CMake projects as
# static libraries (only the library targets: their tools and tests would double
# the time), on the zlib of libz-mingw-w64-dev.
if(TS_WINDOWS)
  foreach(source IN ITEMS "${TS_JPEG_SOURCE}/jpeglib.h" "${TS_PNG_SOURCE}/png.h")
    if(NOT EXISTS "${source}")
      message(FATAL_ERROR "'${source}' not found; run ./test or ./run, which fetch the source packages")
    endif()
  endforeach()
  find_library(TS_MINGW_ZLIB NAMES libz.a REQUIRED)
  find_path(TS_MINGW_ZLIB_INCLUDE zlib.h REQUIRED)
  include(ExternalProject)
  # Nothing is installed, but libjpeg-turbo's package files want a prefix that is a path here.
  set(library_args -DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE} -DCMAKE_BUILD_TYPE=Release
                   -DCMAKE_INSTALL_PREFIX=${CMAKE_BINARY_DIR}/unused-prefix)

  set(jpeg_build ${CMAKE_BINARY_DIR}/libjpeg-turbo)
  ExternalProject_Add(libjpeg_turbo
    SOURCE_DIR ${TS_JPEG_SOURCE}
    BINARY_DIR ${jpeg_build}
    CMAKE_ARGS ${library_args} -DENABLE_SHARED=OFF -DWITH_TURBOJPEG=OFF -DREQUIRE_SIMD=ON
               -DCMAKE_ASM_NASM_COMPILER=nasm
    BUILD_COMMAND $(MAKE) jpeg-static
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${jpeg_build}/libjpeg.a)
  # jconfig.h is written into the build folder at configure time, beside the library.
  file(MAKE_DIRECTORY ${jpeg_build})
  add_library(ts_jpeg STATIC IMPORTED GLOBAL)
  set_target_properties(ts_jpeg PROPERTIES IMPORTED_LOCATION ${jpeg_build}/libjpeg.a
                                           INTERFACE_INCLUDE_DIRECTORIES "${TS_JPEG_SOURCE};${jpeg_build}")
  add_dependencies(ts_jpeg libjpeg_turbo)

  set(png_build ${CMAKE_BINARY_DIR}/libpng)
  ExternalProject_Add(libpng
    SOURCE_DIR ${TS_PNG_SOURCE}
    BINARY_DIR ${png_build}
    CMAKE_ARGS ${library_args} -DPNG_SHARED=OFF -DPNG_EXECUTABLES=OFF -DPNG_TESTS=OFF
               -DZLIB_LIBRARY=${TS_MINGW_ZLIB} -DZLIB_INCLUDE_DIR=${TS_MINGW_ZLIB_INCLUDE}
    BUILD_COMMAND $(MAKE) png_static
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${png_build}/libpng16.a)
  file(MAKE_DIRECTORY ${png_build})
  add_library(ts_png STATIC IMPORTED GLOBAL)
  set_target_properties(ts_png PROPERTIES IMPORTED_LOCATION ${png_build}/libpng16.a
                                          INTERFACE_INCLUDE_DIRECTORIES "${TS_PNG_SOURCE};${png_build}"
                                          INTERFACE_LINK_LIBRARIES ${TS_MINGW_ZLIB})
  add_dependencies(ts_png libpng)
else()
  find_package(JPEG REQUIRED)
  find_package(PNG REQUIRED)
  add_library(ts_jpeg INTERFACE)
  target_link_libraries(ts_jpeg INTERFACE JPEG::JPEG)
  add_library(ts_png INTERFACE)
  target_link_libraries(ts_png INTERFACE PNG::PNG)
endif()

# Ogg Vorbis and MP3: Debian's libogg, libvorbis and libmpg123 natively. For Windows their
# source packages built static by their own CMake projects (mpg123's lives in ports/cmake),
# only the library targets. vorbisenc serves the tests, which encode their own sounds.
if(TS_WINDOWS)
  foreach(source IN ITEMS "${TS_OGG_SOURCE}/include/ogg/ogg.h" "${TS_VORBIS_SOURCE}/include/vorbis/vorbisfile.h"
                          "${TS_MPG123_SOURCE}/ports/cmake/CMakeLists.txt")
    if(NOT EXISTS "${source}")
      message(FATAL_ERROR "'${source}' not found; run ./test or ./run, which fetch the source packages")
    endif()
  endforeach()

  set(ogg_build ${CMAKE_BINARY_DIR}/libogg)
  ExternalProject_Add(libogg
    SOURCE_DIR ${TS_OGG_SOURCE}
    BINARY_DIR ${ogg_build}
    CMAKE_ARGS ${library_args} -DINSTALL_DOCS=OFF
    BUILD_COMMAND $(MAKE) ogg
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${ogg_build}/libogg.a)
  # config_types.h is written at configure time into the build folder.
  file(MAKE_DIRECTORY ${ogg_build}/include)
  add_library(ts_ogg STATIC IMPORTED GLOBAL)
  set_target_properties(ts_ogg PROPERTIES IMPORTED_LOCATION ${ogg_build}/libogg.a
                                          INTERFACE_INCLUDE_DIRECTORIES "${TS_OGG_SOURCE}/include;${ogg_build}/include")
  add_dependencies(ts_ogg libogg)

  set(vorbis_build ${CMAKE_BINARY_DIR}/libvorbis)
  ExternalProject_Add(libvorbis
    SOURCE_DIR ${TS_VORBIS_SOURCE}
    BINARY_DIR ${vorbis_build}
    CMAKE_ARGS ${library_args} -DOGG_INCLUDE_DIR=${TS_OGG_SOURCE}/include -DOGG_LIBRARY=${ogg_build}/libogg.a
               -DCMAKE_C_FLAGS=-I${ogg_build}/include
    BUILD_COMMAND $(MAKE) vorbis vorbisfile vorbisenc
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${vorbis_build}/lib/libvorbis.a ${vorbis_build}/lib/libvorbisfile.a ${vorbis_build}/lib/libvorbisenc.a
    DEPENDS libogg)
  foreach(part IN ITEMS vorbis vorbisfile vorbisenc)
    add_library(ts_${part} STATIC IMPORTED GLOBAL)
    set_target_properties(ts_${part} PROPERTIES IMPORTED_LOCATION ${vorbis_build}/lib/lib${part}.a
                                                INTERFACE_INCLUDE_DIRECTORIES ${TS_VORBIS_SOURCE}/include)
    add_dependencies(ts_${part} libvorbis)
  endforeach()
  set_target_properties(ts_vorbis PROPERTIES INTERFACE_LINK_LIBRARIES ts_ogg)
  set_target_properties(ts_vorbisfile PROPERTIES INTERFACE_LINK_LIBRARIES ts_vorbis)
  set_target_properties(ts_vorbisenc PROPERTIES INTERFACE_LINK_LIBRARIES ts_vorbis)

  set(mpg123_build ${CMAKE_BINARY_DIR}/libmpg123)
  ExternalProject_Add(libmpg123
    SOURCE_DIR ${TS_MPG123_SOURCE}/ports/cmake
    BINARY_DIR ${mpg123_build}
    CMAKE_ARGS ${library_args} -DBUILD_PROGRAMS=OFF -DBUILD_LIBOUT123=OFF
    BUILD_COMMAND $(MAKE) libmpg123
    INSTALL_COMMAND ""
    BUILD_BYPRODUCTS ${mpg123_build}/src/libmpg123/libmpg123.a)
  # mpg123.h is written at configure time beside the library.
  file(MAKE_DIRECTORY ${mpg123_build}/src/libmpg123)
  add_library(ts_mpg123 STATIC IMPORTED GLOBAL)
  set_target_properties(ts_mpg123 PROPERTIES IMPORTED_LOCATION ${mpg123_build}/src/libmpg123/libmpg123.a
                                             INTERFACE_INCLUDE_DIRECTORIES "${mpg123_build}/src/libmpg123;${TS_MPG123_SOURCE}/src/libmpg123"
                                             INTERFACE_LINK_LIBRARIES shlwapi)
  add_dependencies(ts_mpg123 libmpg123)
else()
  find_path(TS_VORBIS_INCLUDE vorbis/vorbisfile.h REQUIRED)
  find_path(TS_MPG123_INCLUDE mpg123.h REQUIRED)
  foreach(part IN ITEMS ogg vorbis vorbisfile vorbisenc mpg123)
    find_library(TS_${part}_LIBRARY ${part} REQUIRED)
    add_library(ts_${part} INTERFACE)
    target_link_libraries(ts_${part} INTERFACE ${TS_${part}_LIBRARY})
  endforeach()
  target_include_directories(ts_vorbis SYSTEM INTERFACE ${TS_VORBIS_INCLUDE})
  target_include_directories(ts_mpg123 SYSTEM INTERFACE ${TS_MPG123_INCLUDE})
  target_link_libraries(ts_vorbis INTERFACE ts_ogg)
  target_link_libraries(ts_vorbisfile INTERFACE ts_vorbis)
  target_link_libraries(ts_vorbisenc INTERFACE ts_vorbis)
endif()
