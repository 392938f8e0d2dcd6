# What every target of the project is compiled and linked with. Targets link `project_options` privately, so nothing of
# this reaches another project that links one of the libraries.

set(CMAKE_CXX_EXTENSIONS OFF)

# CMake itself would not optimise. Another project, and a generator of several configurations, choose for themselves.
get_property(several_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT several_configurations AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE
      Release
      CACHE STRING "Debug, Release, RelWithDebInfo, MinSizeRel or None" FORCE)
  message(STATUS "The programs are optimised (Release); -DCMAKE_BUILD_TYPE=Debug is for a debugger.")
endif()

add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)

# Large files also where `long` has 32 bits: without it readdir and stat fail on big inode numbers.
# Time of 64 bits there too: after January 2038 the clock would stand still.
set(wide_types _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_definitions(project_options INTERFACE ${wide_types})

# The presets turn warnings into errors; a build without a preset only shows them.
target_compile_options(project_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                                                 -Wformat-security)

# Optimising, GCC 12 sees overlapping copies in a concatenation of a literal and a temporary string (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(project_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
endif()

option(USB_RX_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(USB_RX_SANITIZE)
  # Not vptr: that check opens a pipe, and some tests leave the daemon without a free descriptor.
  target_compile_options(project_options INTERFACE -fsanitize=address,undefined -fno-sanitize=vptr
                                                   -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

option(USB_RX_COVERAGE "Build for line coverage with gcov" OFF)
if(USB_RX_COVERAGE)
  target_compile_options(project_options INTERFACE --coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

option(USB_RX_STATIC "Link the programs statically: they then need nothing of the machine that they run on" OFF)
if(USB_RX_STATIC)
  add_link_options(-static)
endif()

# The preset `release` asks for it. Not every compiler can.
if(CMAKE_INTERPROCEDURAL_OPTIMIZATION AND PROJECT_IS_TOP_LEVEL)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT can_optimise_at_link_time OUTPUT reason LANGUAGES CXX)
  if(NOT can_optimise_at_link_time)
    message(WARNING "There is no link-time optimisation, since this compiler has none:\n${reason}")
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION OFF)
  endif()
endif()

include(cmake/Hardening.cmake)

# Where size counts, what nothing calls is left out. The names stay for a debugger until the programs are packed.
set(size_counts $<CONFIG:MinSizeRel>)
target_compile_options(project_options INTERFACE $<${size_counts}:-ffunction-sections> $<${size_counts}:-fdata-sections>)
add_link_options($<${size_counts}:LINKER:--gc-sections>)
