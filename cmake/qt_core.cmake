# Qt Core as the target Zel3::qt_core, for this build and for those that use the installed SDK. The packaged CMake files
# know only the 64-bit library, and the 32-bit package has no `.so` link for the linker, so both builds name the
# run-time library themselves; the headers of either architecture serve both builds.
if(TARGET Zel3::qt_core)
  return()
endif()
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(zel3_architecture i386-linux-gnu)
else()
  set(zel3_architecture x86_64-linux-gnu)
endif()
find_path(QT_CORE_INCLUDE_DIR QtCore/qstring.h
          PATHS /usr/include/x86_64-linux-gnu/qt5 /usr/include/${zel3_architecture}/qt5 NO_DEFAULT_PATH REQUIRED)
find_file(QT_CORE_LIBRARY libQt5Core.so.5 PATHS /usr/lib/${zel3_architecture} NO_DEFAULT_PATH REQUIRED)

add_library(Zel3::qt_core SHARED IMPORTED)
set_target_properties(Zel3::qt_core PROPERTIES
  IMPORTED_LOCATION ${QT_CORE_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES "${QT_CORE_INCLUDE_DIR};${QT_CORE_INCLUDE_DIR}/QtCore"
  INTERFACE_COMPILE_OPTIONS -fPIC)
