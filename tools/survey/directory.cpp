#include "survey/directory.h"

#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>
#include <system_error>

namespace {

// For the reason in errno.
void leaveOut(Findings& findings, const std::string& path) {
  ++findings.figures.leftOutCount;
  findings.problems.push_back("cannot read " + path + ": " +
                              std::generic_category().message(errno));
}

void addFile(Findings& findings, std::string name, const struct stat& status) {
  const auto size = static_cast<std::uint64_t>(status.st_size);
  const auto allocated = static_cast<std::uint64_t>(status.st_blocks) * 512;
  add(findings.figures, {.size = size,
                         .fileCount = 1,
                         .allocatedSize = allocated,
                         .unallocatedSize = size - std::min(size, allocated)});
  findings.files.push_back({size, std::move(name)});
}

}  // namespace

std::shared_ptr<const OpenDirectory> openDirectory(const FoundDirectory& directory, int flags,
                                                   Findings& findings) {
  auto opened = std::make_shared<OpenDirectory>(directory.path, O_DIRECTORY | flags);
  const int descriptor = opened->file.descriptor();
  struct stat status {};
  const bool isOpen = descriptor >= 0 && fstat(descriptor, &status) == 0;
  struct statfs system {};
  if (isOpen && status.st_dev != directory.parentDevice && fstatfs(descriptor, &system) == 0 &&
      (system.f_type == PROC_SUPER_MAGIC || system.f_type == SYSFS_MAGIC)) {
    return nullptr;  // the kernel shows itself there, with sizes that no storage holds
  }
  ++findings.figures.dirCount;
  if (!isOpen) {
    leaveOut(findings, directory.path);
    return nullptr;
  }
  opened->device = status.st_dev;
  return opened;
}

// A listing comes in parts, whatever the file system, and may be interrupted anywhere. The piece
// ends where the next entry does not fit; a failure behind other entries is left to the next piece.
bool Piece::read(const OpenDirectory& directory, Findings& findings) {
  length_ = 0;
  ssize_t added = 0;
  while ((added = TEMP_FAILURE_RETRY(getdents64(
              directory.file.descriptor(), buffer_.data() + length_, buffer_.size() - length_))) >
         0) {
    length_ += static_cast<std::size_t>(added);
  }
  if (added < 0 && length_ == 0) {
    leaveOut(findings, directory.path);
  }
  return added < 0 && length_ > 0;
}

void Piece::lookAt(const OpenDirectory& directory, const Output& infoLog, const Output& list,
                   Findings& findings) const {
  std::vector<const dirent64*> entries;
  for (std::string_view rest(buffer_.data(), length_); !rest.empty();
       rest.remove_prefix(entries.back()->d_reclen)) {
    entries.push_back(reinterpret_cast<const dirent64*>(rest.data()));
  }
  std::ranges::sort(entries, {}, &dirent64::d_ino);  // as they lie on most disks

  findings.files.reserve(entries.size());
  findings.prefix = directory.path + (directory.path.ends_with('/') ? "" : "/");
  const std::string& prefix = findings.prefix;
  for (const dirent64* const entry : entries) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    unsigned char type = entry->d_type;
    struct stat status {};
    // Some file systems leave the type unknown.
    if (type == DT_REG || type == DT_UNKNOWN) {
      if (TEMP_FAILURE_RETRY(fstatat(directory.file.descriptor(), entry->d_name, &status,
                                     AT_SYMLINK_NOFOLLOW)) != 0) {
        leaveOut(findings, prefix + name);
        continue;
      }
      type = static_cast<unsigned char>(IFTODT(status.st_mode));
    }
    if (type == DT_DIR) {
      findings.directories.push_back({prefix + name, directory.device});
    } else if (type == DT_REG && prefix.size() + name.size() >= PATH_MAX) {
      errno = ENAMETOOLONG;  // for whoever would open it
      leaveOut(findings, prefix + name);
    } else if (type == DT_REG && !infoLog.isSameFile(status) && !list.isSameFile(status)) {
      addFile(findings, std::move(name), status);
    }
  }
}
