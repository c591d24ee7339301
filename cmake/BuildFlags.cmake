# Language, warnings, sanitizers and the compiler cache, the same for every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

if(ZELVANE_SANITIZE)
  # The vptr check compares type descriptions across libraries, which hidden visibility makes distinct.
  add_compile_options(-O1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize=vptr
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(_GLIBCXX_DEBUG)
endif()

# Our own code is held to more than the compiler's default; libraries built beside it are not.
add_library(zelvane_warnings INTERFACE)
target_compile_options(zelvane_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wunused -Wformat=2 -Wundef -Wvla
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op -Wuseless-cast>)
