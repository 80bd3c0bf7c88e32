# What every target of the project is built with, on one interface target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# The bundle and the program that loads it from beside itself.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  -Wno-sign-conversion  # which clang counts to -Wconversion: the interface indexes with signed numbers
  # g++ 12 warns of overlaps in std::string that cannot happen (its bug 105329).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  # Exact arithmetic: each operation rounds by itself, in the order in which it is written.
  -ffp-contract=off
  # g++ 12 drops the rounding to float in `double d[2] = {float(x), float(y)}` when it packs the two.
  $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)

if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86_64)$")
  # Hosts may align the stack to 4 bytes, as the ABI once asked; pairs of doubles need 16.
  target_compile_options(project_options INTERFACE -msse2 -mfpmath=sse -mstackrealign)
endif()

if(WIN32)
  # Nothing but Windows itself is needed to load the modules.
  target_link_options(project_options INTERFACE -static $<$<CONFIG:Release>:-s>)
endif()

if(WAIL_SANITIZE)
  target_compile_options(project_options INTERFACE
    -fsanitize=${WAIL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(project_options INTERFACE -fsanitize=${WAIL_SANITIZE})
endif()
