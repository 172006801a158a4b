// A variable list as plain pairs, in its order, for the tools' output.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "VarList.h"

std::vector<std::pair<std::string, std::string>> VarPairs(const Orn::CVarList& list);
