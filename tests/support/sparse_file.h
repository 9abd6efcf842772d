#pragma once

#include <cstdint>
#include <string>

// Makes a file of any size that takes no room on the disk; it reads as zeros.
void MakeSparseFile(const std::string& path, std::int64_t size);
