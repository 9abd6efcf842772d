# Debian packages of what is installed, made by `cpack` in the build folder: zel3 and zel3-brick-sdk.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime sdk)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "zel3 developers <zel3@localhost>")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME zel3)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
  "The program zel3, which makes, indexes and reads archives, and the plug-in that media hosts load.")

set(CPACK_DEBIAN_SDK_PACKAGE_NAME zel3-brick-sdk)
set(CPACK_DEBIAN_SDK_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_SDK_PACKAGE_DEPENDS "zel3 (= ${PROJECT_VERSION}), qtbase5-dev")
set(CPACK_DEBIAN_SDK_DESCRIPTION
  "Headers and libraries to build bricks of a media pipeline, and hosts that load them.")
include(CPack)
