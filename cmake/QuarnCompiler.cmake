# Language level, warnings, sanitizers and output folders, the same for every target of this tree.

option(QUARN_WERROR "Treat warnings as errors" OFF)
option(QUARN_BUILD_BENCH "Build the benchmarks" OFF)
option(QUARN_FUZZ "Build the fuzz targets and what they need, nothing else (needs clang)" OFF)
option(QUARN_WITH_FORMATS "Build the image readers and writers (their tests need ITK)" ON)
option(QUARN_WITH_VIEW "Build the view (needs VTK)" ON)
option(QUARN_PRECOMPILE "Precompile what most tests include" OFF)
option(QUARN_PRECOMPILE_LAYERS
  "Precompile what most sources include; that each includes what it needs is checked by builds without" OFF)
# Of a precompiled library header GCC 12 tells what it else keeps to itself, wrongly.
set(QUARN_PRECOMPILED_OPTIONS -Wno-array-bounds -Wno-restrict -Wno-stringop-overflow)
set(QUARN_TEST_FLAGS "" CACHE STRING "Further compiler flags of the test programs")
set(QUARN_SANITIZE "" CACHE STRING "Sanitizers for all targets: address,undefined or thread")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Programs and libraries share two folders, so that a build tree runs without being installed.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_library(quarn_compiler INTERFACE)
target_compile_options(quarn_compiler INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wformat-security
  $<$<BOOL:${QUARN_WERROR}>:-Werror>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  # Hardware population count; wider vectors are chosen at run time.
  target_compile_options(quarn_compiler INTERFACE -march=x86-64-v2)
endif()

if(QUARN_SANITIZE)
  add_compile_options(-fsanitize=${QUARN_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUARN_SANITIZE})
  if(QUARN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

# What a package and the host must agree on: compiler, its major version, Qt series, and the number of our own interface.
string(REGEX MATCH "^[0-9]+" compiler_major "${CMAKE_CXX_COMPILER_VERSION}")
set(QUARN_ABI "quarn-1-${CMAKE_CXX_COMPILER_ID}${compiler_major}-qt6")
string(TOLOWER "${QUARN_ABI}" QUARN_ABI)
