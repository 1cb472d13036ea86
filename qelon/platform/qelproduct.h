#pragma once
// Product information: the name and version written into exchange files.
#include <string>

std::string QelProductName();     // "Qelon"
std::string QelProductVersion();  // "major.minor.patch"
