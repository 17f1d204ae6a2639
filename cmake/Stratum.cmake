# How the folders become targets.

# stratum_layer(<folder> <INTERFACE|STATIC|SHARED> SOURCES ... DEPENDS ... PRIVATE ...)
#
# One target a folder, stratum_<folder>. A folder's headers are found as "<folder>/X.h" by those that
# depend on it and by nobody else, so that an include against the direction of the layers does not
# compile: each folder gets an include path of its own that holds just a link to it. The host's
# headers are found as a real host's would be, by the names of its libraries.
function(stratum_layer folder kind)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PRIVATE" ${ARGN})
  set(target stratum_${folder})
  add_library(${target} ${kind} ${ARG_SOURCES})
  set(scope PUBLIC)
  if(kind STREQUAL INTERFACE)
    set(scope INTERFACE)
  endif()
  if(folder STREQUAL host)
    target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>)
  else()
    set(path ${PROJECT_BINARY_DIR}/include/${folder})
    file(MAKE_DIRECTORY ${path})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${path}/${folder} SYMBOLIC)
    target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${path}>)
  endif()
  target_link_libraries(${target} ${scope} ${ARG_DEPENDS})
  if(NOT kind STREQUAL INTERFACE)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:stratum_options> ${ARG_PRIVATE})
  endif()
endfunction()

# Reads the rows of common/rows.def: STRATUM_VALUE_TYPES (type names) and STRATUM_TREE_SHAPES
# ("B W", one string each).
function(stratum_read_rows)
  set(file ${PROJECT_SOURCE_DIR}/common/rows.def)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(STRINGS ${file} types REGEX "^STRATUM_VALUE_TYPE\\(")
  list(TRANSFORM types REPLACE "^STRATUM_VALUE_TYPE\\(([a-z0-9]+)\\)" "\\1")
  file(STRINGS ${file} shapes REGEX "^STRATUM_TREE_SHAPE\\(")
  list(TRANSFORM shapes REPLACE "^STRATUM_TREE_SHAPE\\(([0-9]+), ([0-9]+)\\)" "\\1 \\2")
  set(STRATUM_VALUE_TYPES ${types} PARENT_SCOPE)
  set(STRATUM_TREE_SHAPES ${shapes} PARENT_SCOPE)
endfunction()

# stratum_row_sources(<out> <template.cpp.in> [PER_TYPE])
#
# One source a row (shape and value type; with PER_TYPE a value type only), so that they compile side
# by side. The template may use @B@, @W@ and @T@.
function(stratum_row_sources out template)
  cmake_parse_arguments(ARG "PER_TYPE" "" "" ${ARGN})
  get_filename_component(stem ${template} NAME_WE)
  set(shapes ${STRATUM_TREE_SHAPES})
  if(ARG_PER_TYPE)
    set(shapes "any any")
  endif()
  foreach(shape ${shapes})
    string(REPLACE " " ";" parts ${shape})
    list(GET parts 0 B)
    list(GET parts 1 W)
    foreach(T ${STRATUM_VALUE_TYPES})
      set(source ${CMAKE_CURRENT_BINARY_DIR}/${stem}_${B}_${T}.cpp)
      configure_file(${template} ${source} @ONLY)
      list(APPEND sources ${source})
    endforeach()
  endforeach()
  set(${out} ${sources} PARENT_SCOPE)
endfunction()
