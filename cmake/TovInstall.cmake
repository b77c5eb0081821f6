# `cmake --install`: headers under include/tov/, libraries, and what CMake and
# pkg-config need to find them.  A component brings its own dependencies only:
#   find_package(Tov COMPONENTS library hostcore playout)
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(TOV_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tov)

# The public headers; what only the library's own sources include stays here.
set(private_headers "(TovBlob|TovByteOrder|TovChunkWalk|TovMixerSettings|TovPlaybackSettings|TovSaturating)\\.h$")
foreach(folder IN ITEMS core io pcm graph playback)
  install(DIRECTORY ${folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tov/${folder}
    COMPONENT development FILES_MATCHING PATTERN "Tov*.h"
    REGEX ${private_headers} EXCLUDE
    PATTERN kernels EXCLUDE)
endforeach()
install(FILES playout/PlayoutEngine.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tov/playout
  COMPONENT development)

# One export per component, in the order in which they need each other.
set(component_of_tovhostcore hostcore)
set(component_of_tovplayout playout)
set(component_of_tov library)
foreach(target IN ITEMS tovhostcore tovplayout tov)
  set(component ${component_of_${target}})
  if(NOT target STREQUAL "tov")
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${component})
  endif()
  # Headers include each other from the project's root, users from above it.
  target_include_directories(${target} INTERFACE
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tov>)
  # The libraries find each other wherever they are put.
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${target} EXPORT Tov-${component}
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development)
  install(EXPORT Tov-${component} NAMESPACE Tov:: DESTINATION ${TOV_INSTALL_CMAKEDIR}
    FILE Tov-${component}.cmake COMPONENT development)
endforeach()

# What a program has to link besides, where the libraries are static.
set(TOV_STATIC_PACKAGES)
set(tov_hostcore_private)
set(tov_playout_private)
set(tov_link_options)
set(tov_cflags)
if(NOT BUILD_SHARED_LIBS)
  set(TOV_STATIC_PACKAGES ZLIB Threads)
  set(tov_hostcore_private "-lz -pthread")
  set(tov_playout_private "-pthread -l${CMAKE_DL_LIBS}")
  set(tov_cflags "-DTOV_STATIC")
  foreach(symbol IN LISTS TOV_LOAD_TIME_SYMBOLS)
    string(APPEND tov_link_options " -Wl,--undefined=${symbol}")
  endforeach()
endif()

configure_package_config_file(cmake/TovConfig.cmake.in TovConfig.cmake
  INSTALL_DESTINATION ${TOV_INSTALL_CMAKEDIR})
write_basic_package_version_file(TovConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TovConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/TovConfigVersion.cmake
  DESTINATION ${TOV_INSTALL_CMAKEDIR} COMPONENT development)

# From where a .pc file lies: the whole may be moved.
file(RELATIVE_PATH tov_prefix "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")

function(tov_install_pc name description requires libs private)
  configure_file(cmake/library.pc.in ${name}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
tov_install_pc(tovhostcore "Default host core services of Tov" "" "-ltovhostcore"
  "${tov_hostcore_private}")
tov_install_pc(tovplayout "Playout engine of Tov" "tovhostcore" "-ltovplayout"
  "${tov_playout_private}")
tov_install_pc(tov "${PROJECT_DESCRIPTION}" "tovplayout tovhostcore" "-ltov${tov_link_options}" "")

if(TARGET tovcli)
  install(TARGETS tovcli RUNTIME COMPONENT runtime)
  if(NOT CMAKE_CROSSCOMPILING)
    install(FILES ${PROJECT_BINARY_DIR}/app/tov.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
      COMPONENT runtime)
    install(FILES ${PROJECT_BINARY_DIR}/app/tov.bash RENAME tov
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT runtime)
    install(FILES ${PROJECT_BINARY_DIR}/app/tov.zsh RENAME _tov
      DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT runtime)
  endif()
  set_target_properties(tovcli PROPERTIES
    INSTALL_RPATH "$ORIGIN/${CMAKE_INSTALL_LIBDIR}:$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tov)
set(CPACK_PACKAGE_CONTACT "The Tov developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libcubeb0, libcairo2, libsndfile1")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
