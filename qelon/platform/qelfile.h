#pragma once
// Files written whole.
#include <string>
#include <string_view>
#include <vector>

// Writes text to fileName through a temporary file in the same folder,
// which replaces the target only once it is complete: a failure leaves the
// old file as it was (and no temporary behind) and raises EQelFileError
// naming fileName. A new file gets the usual permissions (0666 less the
// umask); a replaced one keeps its own.
void QelWriteFileAtomically(const std::string& fileName, const std::string& text);
// The same for text in pieces, written one after the other.
void QelWriteFileAtomically(const std::string& fileName,
                            const std::vector<std::string_view>& pieces);
