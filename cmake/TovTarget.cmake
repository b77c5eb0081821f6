# What every target of this project is compiled with.  All of it is private: a
# project that takes this one in as a subproject keeps its own flags.

function(tov_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${Tov_SOURCE_DIR}>)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(${target} PUBLIC TOV_STATIC)
  endif()
  if(NOT MSVC)
    # The arithmetic is part of the contract: nothing may be contracted.
    target_compile_options(${target} PRIVATE
      -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
      -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
      $<$<BOOL:${TOV_WERROR}>:-Werror>)
  endif()
endfunction()

# A folder of the library: its sources, and the folders it may use.
function(tov_add_folder name)
  cmake_parse_arguments(FOLDER "" "" "SOURCES;USES" ${ARGN})
  add_library(tov_${name} OBJECT ${FOLDER_SOURCES})
  tov_target_defaults(tov_${name})
  target_compile_definitions(tov_${name} PRIVATE TOV_BUILDING)
  foreach(used IN LISTS FOLDER_USES)
    add_dependencies(tov_${name} tov_${used})
  endforeach()
endfunction()

# Linked statically, a program that names neither a translator nor a setting
# would leave their declarations in the archive; naming a symbol beside each
# brings them in.
function(tov_keep_load_time_declarations target)
  if(BUILD_SHARED_LIBS)
    return()
  endif()
  foreach(symbol IN LISTS ARGN)
    if(MSVC)
      target_link_options(${target} INTERFACE "/INCLUDE:${symbol}")
    elseif(APPLE)
      target_link_options(${target} INTERFACE "LINKER:-u,_${symbol}")
    else()
      target_link_options(${target} INTERFACE "LINKER:--undefined=${symbol}")
    endif()
  endforeach()
endfunction()
