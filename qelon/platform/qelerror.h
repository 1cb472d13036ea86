#pragma once
// Errors of programming or of the platform. The message is the exact
// text callers and tests compare against.
#include <stdexcept>
#include <string>

class EQelError : public std::runtime_error {
public:
  explicit EQelError(const std::string& message) : std::runtime_error(message) {}
};

// A file that cannot be opened, read or written. The message names the file.
class EQelFileError : public EQelError {
public:
  EQelFileError(const std::string& fileName, const std::string& reason)
      : EQelError("Cannot open file \"" + fileName + "\". " + reason),
        FileName(fileName) {}
  std::string FileName;
};

// A value that cannot be converted (text to number and the like).
class EQelConvertError : public EQelError {
public:
  using EQelError::EQelError;
};
