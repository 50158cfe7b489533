# cmake -D VERDICT= -P ... -- COMMAND...: COMMAND must fail and say VERDICT.
set(command "")
set(behind FALSE)
math(EXPR last "${CMAKE_ARGC} - 1")
foreach(i RANGE ${last})
  if(behind)
    # An argument that holds a list stays one argument.
    string(REPLACE ";" "\\;" argument "${CMAKE_ARGV${i}}")
    list(APPEND command "${argument}")
  elseif(CMAKE_ARGV${i} STREQUAL "--")
    set(behind TRUE)
  endif()
endforeach()

execute_process(COMMAND ${command} RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE text)
if(status EQUAL 0 OR NOT text MATCHES "${VERDICT}")
  message("Ended with ${status}, not with a failure and \"${VERDICT}\":\n${text}")
  message(FATAL_ERROR)
endif()
