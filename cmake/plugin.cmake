# A plug-in: a module that a host loads. It exports what the exports.map of its folder names, and nothing else.
#   zel3_add_plugin(<target> SOURCES <file>... LIBRARIES <target>...)
function(zel3_add_plugin target)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  set(exports ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  add_library(${target} MODULE ${arg_SOURCES})
  # No run path: the process that loads it already has the library of the host.
  set_target_properties(${target} PROPERTIES
    PREFIX ""
    INSTALL_RPATH ""
    LINK_DEPENDS ${exports})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES})
  target_compile_options(${target} PRIVATE ${ZEL3_PLUGIN_COMPILE_OPTIONS})
  # It names only libraries that it uses.
  target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,--version-script=${exports})
  # An instrumented plug-in runs only where it was built.
  if(NOT ZEL3_SANITIZE)
    set(older_systems ${PROJECT_SOURCE_DIR}/cmake/older_systems.cpp)
    target_sources(${target} PRIVATE ${older_systems})
    set_source_files_properties(${older_systems} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()
