# `cmake --build build/release --target reference`: the reference of the public
# classes, as HTML in the build folder.  A warning of Doxygen's is an error.
find_program(TOV_DOXYGEN doxygen)
if(NOT TOV_DOXYGEN)
  return()
endif()
add_custom_target(reference
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/reference
  COMMAND ${CMAKE_COMMAND} -E env TOV_VERSION=${PROJECT_VERSION}
          TOV_REFERENCE=${CMAKE_BINARY_DIR}/reference ${TOV_DOXYGEN} docs/Doxyfile
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  VERBATIM)
