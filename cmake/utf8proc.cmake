# How wide characters are on terminals, as the target Zel3::utf8proc. As with Qt Core, the 32-bit package has no link for
# the linker, so both builds name the run-time library themselves; one header serves both.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(zel3_architecture i386-linux-gnu)
else()
  set(zel3_architecture x86_64-linux-gnu)
endif()
find_path(UTF8PROC_INCLUDE_DIR utf8proc.h REQUIRED)
find_file(UTF8PROC_LIBRARY libutf8proc.so.2 PATHS /usr/lib/${zel3_architecture} NO_DEFAULT_PATH REQUIRED)

add_library(Zel3::utf8proc SHARED IMPORTED GLOBAL)
set_target_properties(Zel3::utf8proc PROPERTIES
  IMPORTED_LOCATION ${UTF8PROC_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${UTF8PROC_INCLUDE_DIR})
