# What packaging/make_packages.sh needs to know about the build. This version of CPack supports neither packages of both
# ABIs that share files nor dependencies on an equal version.
set(ZEL3_PACKAGE_MAINTAINER "zel3 developers <zel3@example.org>" CACHE STRING "Who answers for the Debian packages")

# Sets version_of_<package> for a package that is compiled in.
function(zel3_find_version package)
  string(MAKE_C_IDENTIFIER ${package} name)
  execute_process(COMMAND dpkg-query --show --showformat=\${Version} ${package}
                  OUTPUT_VARIABLE version ERROR_QUIET RESULT_VARIABLE failed)
  if(failed)
    set(version "of another origin")
  endif()
  set(version_of_${name} ${version} PARENT_SCOPE)
endfunction()
foreach(package libfmt-dev nlohmann-json3-dev libcli11-dev)
  zel3_find_version(${package})
endforeach()
file(READ page/package.json page_package)
string(JSON version_of_uplot GET "${page_package}" dependencies uplot)

set(architecture amd64)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(architecture i386)
endif()
foreach(file control changelog copyright)
  configure_file(packaging/${file}.in ${CMAKE_BINARY_DIR}/packaging/${file} @ONLY)
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/packaging/variables @ONLY CONTENT
"architecture=@architecture@
triplet=@CMAKE_LIBRARY_ARCHITECTURE@
version=@PROJECT_VERSION@
sources='@PROJECT_SOURCE_DIR@'
")

# Builds all that is in the packages, and none of the tests.
add_custom_target(packaged DEPENDS zel3 zel3reader zel3parser brickhost zel3_blocks pages
                                   completion_bash completion_zsh completion_fish)
if(TARGET man_pages)
  add_dependencies(packaged man_pages)
endif()
