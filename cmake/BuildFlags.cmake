# Language, warnings, sanitizers and the compiler cache, the same for every target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
# With MSVC: memory that is allocated on one side of an export is freed on the other side, so the host, the module and
# clients share one run-time library, also in debug builds.
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
  # -Og and -g1 halve the compile time; the tests run as fast.
  add_compile_options(-Og -g1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize=vptr
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=address,undefined)
  add_compile_definitions(_GLIBCXX_DEBUG)
endif()

# Warnings for our own code; not for libraries that are built with it.
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
# For tests and benchmarks, which check the effects of calls and may ignore a status. In the module, an ignored status
# needs a comment. One list, because in clang a later -Wall enables a warning that an earlier option disabled.
add_library(zelvane_test_warnings INTERFACE)
target_compile_options(zelvane_test_warnings INTERFACE ${warnings} ${may_drop_statuses})
