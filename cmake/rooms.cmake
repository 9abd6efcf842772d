# Includes say which folder they use, as in "client/archive_session.h". Every folder has its own target and an include
# path in which only that folder is found: a file sees only what its target is linked with, and a wrong include does not
# compile.
#   zel3_publish_headers(<target> [<name> <folder>])    by default the current folder, under its own name
function(zel3_publish_headers target)
  if(ARGC GREATER 1)
    set(name ${ARGV1})
    set(folder ${ARGV2})
  else()
    set(folder ${CMAKE_CURRENT_SOURCE_DIR})
    get_filename_component(name ${folder} NAME)
  endif()
  set(path ${PROJECT_BINARY_DIR}/include/${target})
  file(MAKE_DIRECTORY ${path})
  file(CREATE_LINK ${folder} ${path}/${name} SYMBOLIC)
  get_target_property(type ${target} TYPE)
  set(scope PUBLIC)
  if(type STREQUAL INTERFACE_LIBRARY)
    set(scope INTERFACE)
  endif()
  target_include_directories(${target} ${scope} $<BUILD_INTERFACE:${path}>)
endfunction()

# A folder of the program as a static library: zel3_add_room(<target> SOURCES <file>... [USES <target>...])
# The large headers of the libraries for formatting and JSON take longer to compile than the whole program, so they are
# precompiled once, for zel3_text.
function(zel3_add_room target)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_library(${target} STATIC ${arg_SOURCES})
  zel3_publish_headers(${target})
  target_link_libraries(${target} PUBLIC ${arg_USES})
  # The packaged library of fmt uses the newer string ABI.
  target_compile_definitions(${target} PRIVATE FMT_HEADER_ONLY)
  if(TARGET zel3_text AND NOT target STREQUAL zel3_text)
    target_precompile_headers(${target} REUSE_FROM zel3_text)
  endif()
endfunction()
