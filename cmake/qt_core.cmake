# Qt Core as the target qt_core. The packaged CMake files know only the 64-bit library, and the 32-bit package
# has no link for the linker, so both builds name the run-time library themselves; the headers serve both.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(zel3_library_folder /usr/lib/i386-linux-gnu)
else()
  set(zel3_library_folder /usr/lib/x86_64-linux-gnu)
endif()
find_path(QT_CORE_INCLUDE_DIR QtCore/qstring.h
          PATHS /usr/include/x86_64-linux-gnu/qt5 NO_DEFAULT_PATH REQUIRED)
find_file(QT_CORE_LIBRARY libQt5Core.so.5 PATHS ${zel3_library_folder} NO_DEFAULT_PATH REQUIRED)

add_library(qt_core SHARED IMPORTED)
set_target_properties(qt_core PROPERTIES
  IMPORTED_LOCATION ${QT_CORE_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES "${QT_CORE_INCLUDE_DIR};${QT_CORE_INCLUDE_DIR}/QtCore"
  INTERFACE_COMPILE_DEFINITIONS "QT_NO_CAST_FROM_ASCII;QT_NO_CAST_TO_ASCII;QT_NO_KEYWORDS")
