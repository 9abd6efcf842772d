#pragma once

// A path at which nothing can ever exist, since /dev/null is not a folder.
constexpr char kNowhere[] = "/dev/null/nowhere";
