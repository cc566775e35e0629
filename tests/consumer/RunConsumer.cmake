# Installs the build tree BUILD_DIR into WORK/prefix, configures and builds this folder's
# consumer against it and runs it. Run with cmake -P; every step must succeed. CXX_FLAGS, when
# given, are the library build's own, so that a sanitizer build's consumer links its runtime.
foreach(var BUILD_DIR SOURCE_DIR WORK GENERATOR CXX)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "RunConsumer.cmake needs -D${var}=...")
  endif()
endforeach()

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK})
run("install" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK}/prefix)
run("configure" ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK}/build -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_PREFIX_PATH=${WORK}/prefix)
run("build" ${CMAKE_COMMAND} --build ${WORK}/build)
run("consumer" ${WORK}/build/app)
message(STATUS "${output}")
