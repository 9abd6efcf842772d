#include "output/notice.h"

#include <iostream>

#include "output/progress_bar.h"
#include "text/shown_text.h"

void PrintNotice(const std::string& text) {
  ProgressBar::MakeRoom();
  std::cerr << "zel3: " << Escaped(text) << std::endl;
}
