# What `cmake --install` puts where: the program with all that it loads (component runtime), and what bricks and hosts
# are built with (component sdk). Nothing that is installed names a folder of its own place or of the build: the tree
# may be moved.
include(CMakePackageConfigHelpers)
set(zel3_sdk_headers ${CMAKE_INSTALL_INCLUDEDIR}/zel3-brick-sdk)
set(zel3_sdk_package ${CMAKE_INSTALL_LIBDIR}/cmake/Zel3BrickSdk)

install(TARGETS zel3 COMPONENT runtime)
install(TARGETS zel3reader zel3parser LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zel3 COMPONENT runtime)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime
        FILES_MATCHING PATTERN *.md PATTERN *.schema.json PATTERN man EXCLUDE)
if(TARGET man_page)
  install(FILES ${CMAKE_BINARY_DIR}/man/zel3.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
endif()

# What completes commands, where each shell looks for it.
function(zel3_install_completion shell folder name)
  set(script ${CMAKE_BINARY_DIR}/completions/${shell})
  add_custom_command(
    OUTPUT ${script}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/completions
    COMMAND zel3 completion ${shell} > ${script}
    DEPENDS zel3
    VERBATIM)
  add_custom_target(completion_${shell} ALL DEPENDS ${script})
  install(FILES ${script} DESTINATION ${CMAKE_INSTALL_DATADIR}/${folder} RENAME ${name} COMPONENT runtime)
endfunction()
zel3_install_completion(bash bash-completion/completions zel3)
zel3_install_completion(zsh zsh/vendor-completions _zel3)
zel3_install_completion(fish fish/vendor_completions.d zel3.fish)

set_target_properties(zel3_blocks PROPERTIES EXPORT_NAME blocks)
install(TARGETS brick_sdk zel3_blocks brickhost EXPORT Zel3BrickSdk
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT sdk
        ARCHIVE COMPONENT sdk
        INCLUDES DESTINATION ${zel3_sdk_headers})
install(DIRECTORY ${BRICK_SDK_DIR}/ DESTINATION ${zel3_sdk_headers}/sdk COMPONENT sdk FILES_MATCHING PATTERN *.h)
install(DIRECTORY blocks DESTINATION ${zel3_sdk_headers} COMPONENT sdk FILES_MATCHING PATTERN *.h)
install(FILES
          host/brick_plugins.h host/host_export.h host/host_settings.h host/pipeline.h host/settings_folder.h
        DESTINATION ${zel3_sdk_headers}/host COMPONENT sdk)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zel3-brick-sdk COMPONENT sdk
        PATTERN build EXCLUDE)

# For builds with CMake.
write_basic_package_version_file(Zel3BrickSdkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT Zel3BrickSdk FILE Zel3BrickSdkTargets.cmake NAMESPACE Zel3:: DESTINATION ${zel3_sdk_package}
        COMPONENT sdk)
install(FILES
          cmake/Zel3BrickSdkConfig.cmake cmake/qt_core.cmake ${CMAKE_BINARY_DIR}/Zel3BrickSdkConfigVersion.cmake
        DESTINATION ${zel3_sdk_package} COMPONENT sdk)
if(CMAKE_TOOLCHAIN_FILE)
  install(FILES ${CMAKE_TOOLCHAIN_FILE} DESTINATION ${zel3_sdk_package} COMPONENT sdk)
endif()

# For all other builds.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
           OUTPUT_VARIABLE prefix_from_pc_file)
configure_file(cmake/zel3-brick-sdk.pc.in zel3-brick-sdk.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/zel3-brick-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT sdk)
