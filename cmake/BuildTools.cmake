# How everything is compiled and linked: warnings, visibility, sanitizers, and the tools that only
# save time (ccache, mold, precompiled headers), each used when it is there.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_INSTALL_RPATH $ORIGIN/../${CMAKE_INSTALL_LIBDIR})
# Calls within the library need not go through the symbol table.
add_compile_options(-fno-semantic-interposition)

add_library(bokfolio_warnings INTERFACE)
target_compile_options(bokfolio_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Werror)

if(BOKFOLIO_SANITIZE)
  add_compile_options(-fsanitize=${BOKFOLIO_SANITIZE} -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BOKFOLIO_SANITIZE})
endif()

find_program(BOKFOLIO_CCACHE ccache)
if(BOKFOLIO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Paths below the source tree are hashed relative to it, so that a second checkout shares results.
  set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
    CCACHE_SLOPPINESS=pch_defines,time_macros ${BOKFOLIO_CCACHE})
endif()

find_program(BOKFOLIO_MOLD mold)
if(BOKFOLIO_MOLD)
  add_link_options(-fuse-ld=mold)
endif()

# The standard headers most files read, parsed once per target. A file must still include what it
# uses: clang-tidy compiles without.
function(bokfolio_precompile target)
  if(BOKFOLIO_PCH)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
    target_precompile_headers(${target} PRIVATE <algorithm> <functional> <map> <memory> <optional>
      <span> <string> <string_view> <unordered_map> <variant> <vector> ${ARGN})
  endif()
endfunction()
