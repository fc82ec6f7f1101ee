#include "common/result_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "common/temporary_file.h"

namespace {

[[noreturn]] void fail(const std::string& what, const std::string& name) {
  throw std::system_error(errno, std::generic_category(), what + " " + name);
}

mode_t ordinaryFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

void removeResult(const std::string& name) {
  const bool isGone = unlink(name.c_str()) == 0 || errno == ENOENT;
  const bool wasNever = errno == ENOTDIR || errno == ENAMETOOLONG;
  if (!isGone && !wasNever) {
    fail("cannot remove the earlier", name);
  }
}

ResultFile::ResultFile(std::string name) : name_(std::move(name)) {
  removeResult(name_);
  const std::size_t folderLength = name_.rfind('/') + 1;  // 0 when there is no "/"
  const int descriptor = createTemporaryFile(name_.substr(0, folderLength));
  file_.reset(descriptor < 0 ? nullptr : fdopen(descriptor, "w"));
  if (file_ == nullptr || fchmod(descriptor, ordinaryFileMode()) != 0) {
    removeTemporaryFile();
    fail("cannot create", name_);
  }
}

ResultFile::~ResultFile() { removeTemporaryFile(); }

void ResultFile::write(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) {
    fail("cannot write", name_);
  }
}

struct stat ResultFile::status() const {
  struct stat status {};
  if (fstat(fileno(file_.get()), &status) != 0) {
    fail("cannot examine", name_);
  }
  return status;
}

void ResultFile::publish() {
  if (std::fclose(file_.release()) != 0) {
    fail("cannot write", name_);
  }
  if (renameTemporaryFile(name_) != 0) {
    fail("cannot name", name_);
  }
}
