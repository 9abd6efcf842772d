#include "output/notice.h"

#include <iostream>

#include "text/shown_text.h"

void PrintNotice(const std::string& text) {
  std::cerr << "zel3: " << Escaped(text) << std::endl;
}
