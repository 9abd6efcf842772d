#pragma once

#include <string>
#include <vector>

// The names that somebody may have meant by a mistyped one: at most two, the nearest first. Near
// are names of which a few letters are missing, wrong, too many or in the wrong order, and names
// that begin with it.
std::vector<std::string> NearNames(const std::string& mistyped,
                                   const std::vector<std::string>& names);

// A question for people: ": did you mean 'seek'?", or 'seek' or 'peek'. Empty without names.
std::string DidYouMean(const std::vector<std::string>& names);
