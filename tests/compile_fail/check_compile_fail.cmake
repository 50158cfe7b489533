# cmake -D COMPILER= -D INCLUDES= -D SOURCE= -D DIAGNOSTIC= -P: see CMakeLists.txt.
function(refuse reason)
  message("${SOURCE} ${reason}") # a text in message(FATAL_ERROR) would be wrapped
  message(FATAL_ERROR)
endfunction()

set(ENV{LC_ALL} C) # plain quotes in diagnostics
set(command ${COMPILER} -std=c++20 -fsyntax-only -fdiagnostics-color=never)
foreach(folder IN LISTS INCLUDES)
  list(APPEND command -I${folder})
endforeach()

execute_process(COMMAND ${command} ${SOURCE} RESULT_VARIABLE status ERROR_VARIABLE text)
if(NOT status EQUAL 0)
  refuse("must compile without NYX_MUST_NOT_COMPILE:\n${text}")
endif()

execute_process(COMMAND ${command} -DNYX_MUST_NOT_COMPILE ${SOURCE} RESULT_VARIABLE status ERROR_VARIABLE text)
if(status EQUAL 0)
  refuse("compiles, but must not")
endif()
if(NOT text MATCHES "${DIAGNOSTIC}")
  refuse("fails for another reason than \"${DIAGNOSTIC}\":\n${text}")
endif()
