# A folder of the tree is a target. Its headers are found by their path from the top of the tree, but
# only by those targets that link it: each folder gets an include root of its own, which holds
# nothing but a link to that folder. An include across the layers does not compile.

# qbt2_publish_headers(TARGET SCOPE FOLDER...): who links TARGET may include from the folders, which
# are given from the top of the tree. SCOPE is PUBLIC, or INTERFACE.
function(qbt2_publish_headers target scope)
  set(root "${PROJECT_BINARY_DIR}/layers/${target}")
  foreach(folder IN LISTS ARGN)
    cmake_path(GET folder PARENT_PATH parent)
    file(MAKE_DIRECTORY "${root}/${parent}")
    file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${root}/${folder}" SYMBOLIC)
  endforeach()
  target_include_directories(${target} ${scope} "$<BUILD_INTERFACE:${root}>")
endfunction()

# qbt2_add_layer(TARGET FOLDER SOURCES... LIBRARIES... PRIVATE_LIBRARIES...): the object files of
# FOLDER; the sources are named from there. LIBRARIES are the layers that it may include.
function(qbt2_add_layer target folder)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;PRIVATE_LIBRARIES" ${ARGN})
  add_library(${target} OBJECT)
  list(TRANSFORM ARG_SOURCES PREPEND "${PROJECT_SOURCE_DIR}/${folder}/")
  target_sources(${target} PRIVATE ${ARG_SOURCES})
  target_link_libraries(${target} PUBLIC ${ARG_LIBRARIES}
                        PRIVATE qbt2_options ${ARG_PRIVATE_LIBRARIES})
  qbt2_publish_headers(${target} PUBLIC "${folder}")
endfunction()
