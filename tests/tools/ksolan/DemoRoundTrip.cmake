# Runs the demo at a small size, then decodes the frames it wrote: the decoded maps must be
# the demo's maps, byte for byte.   -DKSOLAN=<tool> -DWORK=<scratch folder>
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

execute_process(COMMAND ${KSOLAN} demo --width 96 --height 64 -o ${WORK}/demo
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "demo failed (${status}): ${err}")
endif()
foreach(figure "valid share" "wrapped-phase error" "fringe-order errors")
  if(NOT out MATCHES "${figure}")
    message(FATAL_ERROR "the demo did not print '${figure}':\n${out}")
  endif()
endforeach()

file(GLOB frames ${WORK}/demo/frames/*.png)
list(SORT frames)
execute_process(COMMAND ${KSOLAN} decode -o ${WORK}/decoded ${frames}
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "decode failed (${status}): ${err}")
endif()

foreach(file phase.kdat6 stripe-code.kdat6 absolute-phase.kdat6 phase.png absolute-phase.png
             stripe-code.png contrast.png intensity.png)
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/demo/${file}
    ${WORK}/decoded/${file} RESULT_VARIABLE different)
  if(different)
    message(FATAL_ERROR "decode of the demo's frames gives another ${file}")
  endif()
endforeach()
