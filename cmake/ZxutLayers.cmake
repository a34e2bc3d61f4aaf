# The library's layers. Each folder of src/ (each topic folder of src/core) is a
# static library that links exactly the layers it may use; an #include that runs
# the other way fails the build (cmake/check_layers.py, run before any layer is
# compiled, and again by ctest as the test `layers`).
#
#   zxut_layer(<folder> DEPS <folders>...)
#
# makes the target zxut_<folder with / as _> from src/<folder>/*.cc and records the
# folder with every layer it may include, directly or through its dependencies.

set(ZXUT_LAYERS_FILE ${CMAKE_BINARY_DIR}/layers.txt)
file(WRITE ${ZXUT_LAYERS_FILE}.tmp "")
set_property(GLOBAL PROPERTY ZXUT_LAYER_TARGETS "")

function(zxut_layer_target out folder)
  string(REPLACE "/" "_" _n "${folder}")
  set(${out} zxut_${_n} PARENT_SCOPE)
endfunction()

function(zxut_layer folder)
  cmake_parse_arguments(L "" "" "DEPS;SOURCES" ${ARGN})
  zxut_layer_target(_t ${folder})
  if(NOT L_SOURCES)
    file(GLOB L_SOURCES CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cc)
  endif()
  add_library(${_t} STATIC ${L_SOURCES})
  target_include_directories(${_t} PUBLIC ${CMAKE_SOURCE_DIR}/src ${CMAKE_SOURCE_DIR}/include)
  target_link_libraries(${_t} PUBLIC ${ZXUT_PLATFORM_LIBS})
  add_dependencies(${_t} zxut_layers)
  # What this layer may include: itself, its dependencies and everything below them.
  set(_allowed ${folder})
  foreach(_d IN LISTS L_DEPS)
    zxut_layer_target(_dt ${_d})
    if(NOT TARGET ${_dt})
      message(FATAL_ERROR "layer ${folder}: ${_d} must be declared before it")
    endif()
    target_link_libraries(${_t} PUBLIC ${_dt})
    get_property(_below GLOBAL PROPERTY ZXUT_LAYER_ALLOWED_${_dt})
    list(APPEND _allowed ${_below})
  endforeach()
  list(REMOVE_DUPLICATES _allowed)
  set_property(GLOBAL PROPERTY ZXUT_LAYER_ALLOWED_${_t} ${_allowed})
  set_property(GLOBAL APPEND PROPERTY ZXUT_LAYER_TARGETS ${_t})
  string(REPLACE ";" " " _line "${_allowed}")
  file(APPEND ${ZXUT_LAYERS_FILE}.tmp "${_line}\n")
endfunction()

# After the last zxut_layer: the layer file and the check that guards it.
function(zxut_layers_done)
  configure_file(${ZXUT_LAYERS_FILE}.tmp ${ZXUT_LAYERS_FILE} COPYONLY)
  file(GLOB_RECURSE _all CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/*.h ${CMAKE_SOURCE_DIR}/src/*.cc
       ${CMAKE_SOURCE_DIR}/src/*.inc)
  add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/layers.stamp
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/cmake/check_layers.py ${ZXUT_LAYERS_FILE}
            ${CMAKE_SOURCE_DIR}/src
    COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_BINARY_DIR}/layers.stamp
    DEPENDS ${_all} ${ZXUT_LAYERS_FILE} ${CMAKE_SOURCE_DIR}/cmake/check_layers.py
    COMMENT "Checking that every #include runs down the layers"
    VERBATIM)
  add_custom_target(zxut_layers DEPENDS ${CMAKE_BINARY_DIR}/layers.stamp)
endfunction()
