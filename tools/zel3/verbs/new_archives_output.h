#pragma once

#include <vector>

#include "output/output_style.h"
#include "text/json_text.h"
#include "verbs/new_archives.h"

// The archives that a verb has written, for people and programs.
void PrintTable(const std::vector<NewArchive>& archives, TimeFormat times);
Json AsJson(const std::vector<NewArchive>& archives, TimeFormat times);
