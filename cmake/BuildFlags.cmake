# Language, warnings, sanitizers and the compiler cache, the same for every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
# Where MSVC compiles: what is allocated on one side of an export is freed on the other, so host, module and clients
# share one run-time library, also in debug builds.
set(CMAKE_MSVC_RUNTIME_LIBRARY MultiThreadedDLL)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

if(MSVC)
  add_compile_options(/permissive- /Zc:__cplusplus /utf-8 /EHsc)
endif()

if(ZELVANE_SANITIZE)
  # The vptr check compares type descriptions across libraries, which hidden visibility makes distinct.
  # Optimised little and with line numbers only: it compiles in half the time and runs as fast.
  add_compile_options(-Og -g1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize=vptr
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(_GLIBCXX_DEBUG)
endif()

# Our own code is held to more than the compiler's default; libraries built beside it are not.
if(MSVC)
  set(warnings /W4 $<$<BOOL:${ZELVANE_WERROR}>:/WX>)
  set(may_drop_statuses /wd4834)
else()
  set(warnings
    -Wall -Wextra -Wpedantic $<$<BOOL:${ZELVANE_WERROR}>:-Werror> -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wunused -Wformat=2 -Wundef -Wvla
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op -Wuseless-cast>)
  set(may_drop_statuses -Wno-unused-result)
endif()
add_library(zelvane_warnings INTERFACE)
target_compile_options(zelvane_warnings INTERFACE ${warnings})
# For tests and benchmarks: they look at what came of a call. The module itself drops no status without saying why.
# One list, because for clang a later -Wall brings back what an earlier option has taken away.
add_library(zelvane_test_warnings INTERFACE)
target_compile_options(zelvane_test_warnings INTERFACE ${warnings} ${may_drop_statuses})
