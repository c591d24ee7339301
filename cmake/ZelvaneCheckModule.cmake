# Checks that the host can load and unload a module: it exports the two functions of a module, links no export of Zelvane, and
# has no unique symbols.
#   cmake -D NM=... -D MODULE=... -P ZelvaneCheckModule.cmake
execute_process(COMMAND ${NM} --dynamic --format=posix ${MODULE} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

function(refuse reason)
  file(REMOVE ${MODULE}) # otherwise the next build would treat it as up to date
  message(FATAL_ERROR "${MODULE}: ${reason}")
endfunction()

foreach(entry kzrxEntryPoint kzrxGetApiVersion)
  if(NOT symbols MATCHES "(^|\n)${entry} T")
    refuse("the host needs ${entry}: define it, marked with ZELVANE_EXPORT")
  endif()
endforeach()
if(symbols MATCHES "(^|\n)(kzdx[A-Z][A-Za-z]*) U")
  refuse("no library offers ${CMAKE_MATCH_2} to be linked: call it through the class KzDxExports of zelvane/client.h")
endif()
if(symbols MATCHES "(^|\n)([^ \n]+) u")
  refuse("the unique symbol ${CMAKE_MATCH_2} keeps it in memory after it was unloaded: compile all of it with -fno-gnu-unique")
endif()
