#pragma once
// Files written whole.
#include <string>

// Writes text to fileName through a temporary file in the same folder,
// which replaces the target only once it is complete: a failure leaves the
// old file as it was (and no temporary behind) and raises EQelFileError
// naming fileName. A new file gets the usual permissions (0666 less the
// umask); a replaced one keeps its own.
void QelWriteFileAtomically(const std::string& fileName, const std::string& text);
