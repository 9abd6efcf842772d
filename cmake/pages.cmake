# The pages, their pictures and the schemas are installed in the same folders as here.
file(GLOB zel3_documents RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
     README.md CHANGELOG.md SECURITY.md docs/*.md docs/schema/*.md docs/schema/*.schema.json docs/pictures/*)
list(JOIN zel3_documents "," zel3_installed)

set(zel3_pages "")
foreach(document IN LISTS zel3_documents)
  set(file ${PROJECT_SOURCE_DIR}/${document})
  if(document MATCHES "\\.md$")
    set(file ${CMAKE_BINARY_DIR}/pages/${document})
    add_custom_command(
      OUTPUT ${file}
      COMMAND ${CMAKE_COMMAND} -DFOLDER=${PROJECT_SOURCE_DIR} -DPAGE=${document} -DINSTALLED=${zel3_installed}
              -DOUTPUT=${file} -P ${PROJECT_SOURCE_DIR}/cmake/installed_page.cmake
      DEPENDS ${document} cmake/installed_page.cmake
      VERBATIM)
    list(APPEND zel3_pages ${file})
  endif()
  cmake_path(GET document PARENT_PATH folder)
  install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder} COMPONENT zel3)
endforeach()
add_custom_target(pages ALL DEPENDS ${zel3_pages})
