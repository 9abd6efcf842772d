#pragma once

#include <cstdint>
#include <string>

constexpr std::uint32_t kSecondsPerHour = 3600;
constexpr std::uint32_t kSecondsPerDay = 24 * kSecondsPerHour;

// Seconds since 1970 UTC as 2024-05-01_00-00-00, which every shell and file system takes as it is.
std::string FileNameTime(std::uint32_t seconds);
