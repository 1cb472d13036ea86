#include "qelon/platform/qelfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qelon/platform/qelerror.h"

void QelWriteFileAtomically(const std::string& fileName, const std::string& text) {
  std::string temp = fileName + ".XXXXXX";
  const int fd = mkstemp(temp.data());
  if (fd < 0) throw EQelFileError(fileName, std::strerror(errno));
  struct stat old {};
  mode_t mode = 0;
  if (stat(fileName.c_str(), &old) == 0) {
    mode = old.st_mode & 07777;
  } else {
    mode = umask(0);
    umask(mode);
    mode = 0666 & ~mode;
  }
  const char* p = text.data();
  size_t left = text.size();
  int error = 0;
  while (left > 0) {
    const ssize_t n = write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      error = errno;
      break;
    }
    p += n;
    left -= static_cast<size_t>(n);
  }
  if (!error && fchmod(fd, mode) != 0) error = errno;
  if (close(fd) != 0 && !error) error = errno;
  if (!error && rename(temp.c_str(), fileName.c_str()) != 0) error = errno;
  if (error) {
    unlink(temp.c_str());
    throw EQelFileError(fileName, std::strerror(error));
  }
}

