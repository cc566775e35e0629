# ksolan_add_library(NAME DIRS...): a shared library from every .cpp of the given folders
# (and their kernels/ subfolders), with its public headers installed beside it.
function(ksolan_add_library name)
  cmake_parse_arguments(ARG "" "INCLUDE_ROOT;HEADER_DEST" "DIRS;LINK_PUBLIC;LINK_PRIVATE" ${ARGN})
  set(sources "")
  foreach(dir IN LISTS ARG_DIRS)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS ${dir}/*.cpp)
    list(APPEND sources ${found})
  endforeach()
  add_library(${name} SHARED ${sources})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${ARG_INCLUDE_ROOT}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${name} PUBLIC ${ARG_LINK_PUBLIC} PRIVATE ${ARG_LINK_PRIVATE})
  install(TARGETS ${name} EXPORT kSolanTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  foreach(dir IN LISTS ARG_DIRS)
    file(RELATIVE_PATH rel ${ARG_INCLUDE_ROOT} ${dir})
    install(DIRECTORY ${dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${rel}
      FILES_MATCHING PATTERN "*.h" PATTERN "*.x.h" EXCLUDE)
  endforeach()
endfunction()

# ksolan_add_test(NAME DIR LIBS...): one GoogleTest executable from the .cpp files of DIR.
function(ksolan_add_test name dir)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${dir}/*.cpp)
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARGN} kTestSupport GTest::gtest_main GTest::gmock)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
