# Makes a source file with the parts of a report.
#   cmake -DFOLDER=... -DUPLOT=... -DOUTPUT=... -P embed_assets.cmake
file(READ ${FOLDER}/page.html page)
file(READ ${UPLOT}/LICENSE licence)
file(READ ${UPLOT}/dist/uPlot.min.css uplot_style)
file(READ ${UPLOT}/dist/uPlot.iife.min.js uplot_script)
file(READ ${FOLDER}/page.css own_style)
file(READ ${FOLDER}/chart.js own_script)
set(style "${uplot_style}\n${own_style}")
set(script "/*\n${licence}*/\n${uplot_script}\n${own_script}")
configure_file(${FOLDER}/assets.cpp.in ${OUTPUT} @ONLY)
