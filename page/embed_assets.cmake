# Makes a source file with the parts of a report.
#   cmake -DFOLDER=... -DUPLOT=... -DSTYLES=... -DSCRIPTS=... -DOUTPUT=... -P embed_assets.cmake
file(READ ${FOLDER}/page.html page)
file(READ ${UPLOT}/LICENSE licence)
file(READ ${UPLOT}/dist/uPlot.min.css style)
file(READ ${UPLOT}/dist/uPlot.iife.min.js uplot_script)
foreach(name IN LISTS STYLES)
  file(READ ${FOLDER}/${name} part)
  string(APPEND style "\n${part}")
endforeach()
# Other scripts see nothing of ours.
set(script "/*\n${licence}*/\n${uplot_script}\n(() => {\n\"use strict\";\n")
foreach(name IN LISTS SCRIPTS)
  file(READ ${FOLDER}/${name} part)
  string(APPEND script "${part}\n")
endforeach()
string(APPEND script "})();\n")
configure_file(${FOLDER}/assets.cpp.in ${OUTPUT} @ONLY)
