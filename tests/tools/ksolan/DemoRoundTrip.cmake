# Runs the demo at a small size, checks the figures it prints for both of its scans, then
# decodes the frames it wrote: the decoded maps must be the demo's maps, byte for byte.
#   -DKSOLAN=<tool> -DWORK=<scratch folder>
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

execute_process(COMMAND ${KSOLAN} demo --width 96 --height 64 -o ${WORK}/demo
  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "demo failed (${status}): ${err}")
endif()

# The stripe-and-phase scan's block comes first, the embedded-phase scan's second. Both must
# decode nearly every lit pixel; at this size the embedded scan loses the order on a few pixels
# of the block's flanks, the stripe scan on none.
string(FIND "${out}" "embedded-phase scan" split)
if(split EQUAL -1)
  message(FATAL_ERROR "the demo did not print the embedded-phase scan:\n${out}")
endif()
string(SUBSTRING "${out}" 0 ${split} stripe)
string(SUBSTRING "${out}" ${split} -1 embedded)
function(check_figures scan text most_order_errors)
  foreach(figure "valid share" "wrapped-phase error" "fringe-order errors" "time per stage")
    if(NOT text MATCHES "${figure}")
      message(FATAL_ERROR "the ${scan} scan did not print '${figure}':\n${text}")
    endif()
  endforeach()
  string(REGEX MATCH "valid share +([0-9.]+) %" match "${text}")
  if(NOT match OR CMAKE_MATCH_1 LESS 95)
    message(FATAL_ERROR "the ${scan} scan decodes ${CMAKE_MATCH_1} % of the lit pixels:\n${text}")
  endif()
  string(REGEX MATCH "fringe-order errors +([0-9.]+) %" match "${text}")
  if(NOT match OR CMAKE_MATCH_1 GREATER most_order_errors)
    message(FATAL_ERROR "the ${scan} scan has ${CMAKE_MATCH_1} % order errors:\n${text}")
  endif()
endfunction()
check_figures(stripe-and-phase "${stripe}" 0.1)
check_figures(embedded-phase "${embedded}" 0.5)

# Decodes <folder>/frames of the demo with the options after the code map's name and compares.
function(round_trip folder code)
  file(GLOB frames ${WORK}/demo/${folder}/frames/*.png)
  list(SORT frames)
  set(decoded ${WORK}/decoded/${folder})
  execute_process(COMMAND ${KSOLAN} decode ${ARGN} -o ${decoded} ${frames}
    RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "decode ${ARGN} failed (${status}): ${err}")
  endif()
  foreach(file phase.kdat6 ${code}.kdat6 absolute-phase.kdat6 phase.png absolute-phase.png
               ${code}.png contrast.png intensity.png)
    if(NOT EXISTS ${WORK}/demo/${folder}/${file})
      message(FATAL_ERROR "the demo wrote no ${folder}/${file}")
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/demo/${folder}/${file}
      ${decoded}/${file} RESULT_VARIABLE different)
    if(different)
      message(FATAL_ERROR "decode of the demo's ${folder} frames gives another ${file}")
    endif()
  endforeach()
endfunction()
round_trip("" stripe-code)
round_trip(embedded fringe-order --embedded 7,7,14 --steps 5,5,5)
