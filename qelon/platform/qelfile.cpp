#include "qelon/platform/qelfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "qelon/platform/qelerror.h"

void QelWriteFileAtomically(const std::string& fileName, const std::string& text) {
  QelWriteFileAtomically(fileName, std::vector<std::string_view>{text});
}

void QelWriteFileAtomically(const std::string& fileName,
                            const std::vector<std::string_view>& pieces) {
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
  int error = 0;
  // Many pieces a call; a short write goes on where it stopped.
  std::vector<iovec> batch;
  size_t next = 0;
  while (!error && next < pieces.size()) {
    batch.clear();
    for (; next < pieces.size() && batch.size() < 512; ++next)
      if (!pieces[next].empty())
        batch.push_back({const_cast<char*>(pieces[next].data()), pieces[next].size()});
    size_t first = 0;
    while (first < batch.size()) {
      const ssize_t n = writev(fd, batch.data() + first, static_cast<int>(batch.size() - first));
      if (n < 0) {
        if (errno == EINTR) continue;
        error = errno;
        break;
      }
      for (size_t done = static_cast<size_t>(n); first < batch.size() && done > 0;) {
        iovec& v = batch[first];
        const size_t part = std::min(done, v.iov_len);
        v.iov_base = static_cast<char*>(v.iov_base) + part;
        v.iov_len -= part;
        done -= part;
        if (v.iov_len == 0) ++first;
      }
    }
  }
  if (!error && fchmod(fd, mode) != 0) error = errno;
  if (close(fd) != 0 && !error) error = errno;
  if (!error && rename(temp.c_str(), fileName.c_str()) != 0) error = errno;
  if (error) {
    unlink(temp.c_str());
    throw EQelFileError(fileName, std::strerror(error));
  }
}

