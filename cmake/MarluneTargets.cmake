# What every target of this project shares. Nothing here reaches a project that embeds the library:
# warnings, sanitizers and output folders are set target by target, privately.

find_package(Threads REQUIRED)

function(marlune_private_flags target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  # Levels are the same to the bit wherever they are computed: no contraction that the source does not ask for.
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # Version 12 takes any text that is built by "+" for overlapping memory (its bug 105651).
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(MARLUNE_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
  if(MARLUNE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${MARLUNE_SANITIZE} -fno-omit-frame-pointer
      -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${MARLUNE_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # Instrumented code makes this compiler see uninitialised values inside std::optional where none are.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    if(MARLUNE_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # The executor library uses fences, which this sanitizer does not model but warns about.
      target_compile_options(${target} PRIVATE -Wno-tsan)
    endif()
  endif()
endfunction()

# The headers that most sources include, read once for a target, and what follows the target's name besides. A build
# without comes first in .ci/run: here a source that forgets an include would not be noticed.
function(marlune_precompile target)
  if(MARLUNE_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE <algorithm> <array> <atomic> <chrono> <cmath> <condition_variable>
      <cstdint> <functional> <limits> <map> <memory> <mutex> <optional> <span> <string> <string_view> <thread>
      <unordered_map> <utility> <vector> <fmt/format.h> ${ARGN})
  endif()
endfunction()

# Sources of a folder: every .cpp in it. A new file is picked up without touching a list.
function(marlune_glob variable)
  file(GLOB found CONFIGURE_DEPENDS ${ARGN})
  set(${variable} ${found} PARENT_SCOPE)
endfunction()
