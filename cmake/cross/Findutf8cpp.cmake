if(NOT TARGET utf8cpp)
  add_library(utf8cpp INTERFACE IMPORTED GLOBAL)
  target_include_directories(utf8cpp SYSTEM INTERFACE /usr/include/utf8cpp) # a folder that has nothing else
endif()
set(utf8cpp_FOUND TRUE)
