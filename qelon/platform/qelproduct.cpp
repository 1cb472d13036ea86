#include "qelproduct.h"

std::string QelProductName() { return "Qelon"; }
std::string QelProductVersion() { return QELON_VERSION; }
