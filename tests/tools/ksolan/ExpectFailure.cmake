# Runs ksolan with bad input and checks the failure contract: a non-zero exit status, exactly
# one line on stderr naming the problem, and no output folder left behind.
#   -DKSOLAN=<tool> -DARGS=<arguments separated by |> -DMESSAGE=<regex> [-DOUTPUT=<folder that must not exist>]
#   [-DWORK=<folder>: the working directory, created, with a text file notes.txt and a text
#   file fake.png in it]
if(WORK)
  file(MAKE_DIRECTORY ${WORK})
  file(WRITE ${WORK}/notes.txt "not an image\n")
  file(WRITE ${WORK}/fake.png "not an image either\n")
else()
  set(WORK ${CMAKE_CURRENT_BINARY_DIR})
endif()
if(OUTPUT)
  file(REMOVE_RECURSE ${OUTPUT})
endif()

string(REPLACE "|" ";" ARGS "${ARGS}")
execute_process(COMMAND ${KSOLAN} ${ARGS} WORKING_DIRECTORY ${WORK}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)

if(status EQUAL 0)
  message(FATAL_ERROR "exit status 0 for '${ARGS}'; stdout: ${out}")
endif()
string(REGEX MATCHALL "\n" lines "${err}")
list(LENGTH lines count)
if(NOT count EQUAL 1 OR NOT err MATCHES "^ksolan: ")
  message(FATAL_ERROR "expected one line 'ksolan: ...' on stderr, got: '${err}'")
endif()
if(NOT err MATCHES "${MESSAGE}")
  message(FATAL_ERROR "stderr '${err}' does not match '${MESSAGE}'")
endif()
if(OUTPUT AND EXISTS ${OUTPUT})
  message(FATAL_ERROR "the output folder ${OUTPUT} was left behind")
endif()
