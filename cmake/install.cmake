# What `cmake --install` puts where. The components are the Debian packages: the program, the plug-ins, the library of
# their host, and what bricks and hosts are built with. Nothing installed names the folder it is in or that of the
# build, so the tree may be moved.
include(CMakePackageConfigHelpers)
set(zel3_library_package libbrickhost${PROJECT_VERSION_MAJOR})
set(zel3_sdk_headers ${CMAKE_INSTALL_INCLUDEDIR}/zel3-brick-sdk)
set(zel3_sdk_package ${CMAKE_INSTALL_LIBDIR}/cmake/Zel3BrickSdk)

install(TARGETS zel3 COMPONENT zel3)
install(TARGETS zel3reader zel3parser LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zel3 COMPONENT zel3-plugins)

if(TARGET man_pages)
  get_target_property(zel3_pages man_pages ZEL3_PAGES)
  install(FILES ${zel3_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT zel3)
endif()

# The completions, where each shell looks for them.
function(zel3_install_completion shell folder name)
  set(script ${CMAKE_BINARY_DIR}/completions/${shell})
  add_custom_command(
    OUTPUT ${script}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/completions
    COMMAND zel3 completion ${shell} > ${script}
    DEPENDS zel3
    VERBATIM)
  add_custom_target(completion_${shell} ALL DEPENDS ${script})
  install(FILES ${script} DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} RENAME ${name} COMPONENT zel3)
endfunction()
zel3_install_completion(bash bash-completion/completions zel3)
zel3_install_completion(zsh zsh/vendor-completions _zel3)
zel3_install_completion(fish fish/vendor_completions.d zel3.fish)

set_target_properties(zel3_blocks PROPERTIES EXPORT_NAME blocks)
install(TARGETS brick_sdk zel3_blocks brickhost EXPORT Zel3BrickSdk
        LIBRARY COMPONENT ${zel3_library_package} NAMELINK_COMPONENT zel3-brick-sdk
        ARCHIVE COMPONENT zel3-brick-sdk
        INCLUDES DESTINATION ${zel3_sdk_headers})
install(DIRECTORY ${BRICK_SDK_DIR}/ DESTINATION ${zel3_sdk_headers}/sdk COMPONENT zel3-brick-sdk
        FILES_MATCHING PATTERN *.h)
install(FILES sdk/check_host.cpp DESTINATION ${zel3_sdk_headers}/sdk COMPONENT zel3-brick-sdk)
install(DIRECTORY blocks DESTINATION ${zel3_sdk_headers} COMPONENT zel3-brick-sdk FILES_MATCHING PATTERN *.h)
install(FILES
          host/brick_plugins.h host/host_export.h host/host_settings.h host/pipeline.h host/settings_folder.h
        DESTINATION ${zel3_sdk_headers}/host COMPONENT zel3-brick-sdk)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zel3-brick-sdk COMPONENT zel3-brick-sdk
        PATTERN build EXCLUDE)

# For builds with CMake.
write_basic_package_version_file(Zel3BrickSdkConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT Zel3BrickSdk FILE Zel3BrickSdkTargets.cmake NAMESPACE Zel3:: DESTINATION ${zel3_sdk_package}
        COMPONENT zel3-brick-sdk)
install(FILES
          cmake/Zel3BrickSdkConfig.cmake cmake/qt_core.cmake ${CMAKE_BINARY_DIR}/Zel3BrickSdkConfigVersion.cmake
        DESTINATION ${zel3_sdk_package} COMPONENT zel3-brick-sdk)
if(CMAKE_TOOLCHAIN_FILE)
  install(FILES ${CMAKE_TOOLCHAIN_FILE} DESTINATION ${zel3_sdk_package} COMPONENT zel3-brick-sdk)
endif()

# For all other builds.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefix_from_pc_file)
configure_file(cmake/zel3-brick-sdk.pc.in zel3-brick-sdk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/zel3-brick-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT zel3-brick-sdk)
