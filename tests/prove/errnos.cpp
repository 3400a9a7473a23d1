#include "errnos.h"

#include <sys/syscall.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "control.h"

namespace prove {

namespace {

constexpr int kOpen[] = {EACCES,    EBADF,  EBUSY,  EDQUOT,  EEXIST,      EFAULT,       EFBIG,
                         EINTR,     EINVAL, EISDIR, ELOOP,   EMFILE,      ENAMETOOLONG, ENFILE,
                         ENODEV,    ENOENT, ENOMEM, ENOSPC,  ENOTDIR,     ENXIO,        EOPNOTSUPP,
                         EOVERFLOW, EPERM,  EROFS,  ETXTBSY, EWOULDBLOCK, EIO};
constexpr int kStat[] = {EACCES, EBADF,  EFAULT,  EINVAL,    ELOOP, ENAMETOOLONG,
                         ENOENT, ENOMEM, ENOTDIR, EOVERFLOW, EIO};
constexpr int kAccess[] = {EACCES, EBADF,  EFAULT,  EINVAL, EIO,   ELOOP,  ENAMETOOLONG,
                           ENOENT, ENOMEM, ENOTDIR, EPERM,  EROFS, ETXTBSY};
constexpr int kRead[] = {kHalf, EAGAIN, EBADF, EFAULT, EINTR, EINVAL, EIO, EISDIR};
constexpr int kWrite[] = {kHalf, EAGAIN, EBADF, EDESTADDRREQ, EDQUOT, EFAULT, EFBIG,
                          EINTR, EINVAL, EIO,   ENOSPC,       EPERM,  EPIPE};
constexpr int kSync[] = {EBADF, EINTR, EIO, ENOSPC, EROFS, EINVAL, EDQUOT};
constexpr int kClose[] = {EBADF, EINTR, EIO, ENOSPC, EDQUOT};
constexpr int kRename[] = {EACCES, EBUSY,        EDQUOT, EFAULT, EINVAL, EISDIR,  ELOOP,
                           EMLINK, ENAMETOOLONG, ENOENT, ENOMEM, ENOSPC, ENOTDIR, ENOTEMPTY,
                           EEXIST, EPERM,        EROFS,  EXDEV,  EBADF,  EIO};
constexpr int kUnlink[] = {EACCES, EBUSY,  EFAULT,  EIO,   EISDIR, ELOOP, ENAMETOOLONG,
                           ENOENT, ENOMEM, ENOTDIR, EPERM, EROFS,  EBADF, EINVAL};
constexpr int kMakeDirectory[] = {EACCES, EBADF,  EDQUOT,  EEXIST,       EFAULT,
                                  EINVAL, ELOOP,  EMLINK,  ENAMETOOLONG, ENOENT,
                                  ENOMEM, ENOSPC, ENOTDIR, EPERM,        EROFS};
constexpr int kRemoveDirectory[] = {EACCES, EBUSY,  EFAULT,  EINVAL,    ELOOP, ENAMETOOLONG,
                                    ENOENT, ENOMEM, ENOTDIR, ENOTEMPTY, EPERM, EROFS};
constexpr int kReadLink[] = {EACCES, EBADF,  EFAULT,       EINVAL, EIO,
                             ELOOP,  ENOENT, ENAMETOOLONG, ENOMEM, ENOTDIR};
constexpr int kOwner[] = {EACCES, EBADF,  EFAULT, EINVAL,  EIO,   ELOOP, ENAMETOOLONG,
                          ENOENT, ENOMEM, ENOSPC, ENOTDIR, EPERM, EROFS};
constexpr int kTruncate[] = {EACCES, EBADF, EFBIG, EINTR, EINVAL, EIO, EPERM, EROFS, ETXTBSY};
constexpr int kSeek[] = {EBADF, EINVAL, ENXIO, EOVERFLOW, ESPIPE};
constexpr int kControl[] = {EACCES, EAGAIN, EBADF, EINTR, EINVAL, EMFILE, ENOLCK, EPERM};

struct Failures {
    long call;
    const char* name;
    std::span<const int> ways;
};

constexpr Failures kFailures[] = {
    {SYS_open, "open", kOpen},
    {SYS_openat, "openat", kOpen},
    {SYS_creat, "creat", kOpen},
    {SYS_stat, "stat", kStat},
    {SYS_lstat, "lstat", kStat},
    {SYS_fstat, "fstat", kStat},
    {SYS_newfstatat, "fstatat", kStat},
    {SYS_statx, "statx", kStat},
    {SYS_access, "access", kAccess},
    {SYS_faccessat, "faccessat", kAccess},
    {SYS_faccessat2, "faccessat2", kAccess},
    {SYS_read, "read", kRead},
    {SYS_pread64, "pread", kRead},
    {SYS_readv, "readv", kRead},
    {SYS_write, "write", kWrite},
    {SYS_pwrite64, "pwrite", kWrite},
    {SYS_writev, "writev", kWrite},
    {SYS_fsync, "fsync", kSync},
    {SYS_fdatasync, "fdatasync", kSync},
    {SYS_syncfs, "syncfs", kSync},
    {SYS_close, "close", kClose},
    {SYS_rename, "rename", kRename},
    {SYS_renameat, "renameat", kRename},
    {SYS_renameat2, "renameat2", kRename},
    {SYS_link, "link", kRename},
    {SYS_linkat, "linkat", kRename},
    {SYS_unlink, "unlink", kUnlink},
    {SYS_unlinkat, "unlinkat", kUnlink},
    {SYS_mkdir, "mkdir", kMakeDirectory},
    {SYS_mkdirat, "mkdirat", kMakeDirectory},
    {SYS_rmdir, "rmdir", kRemoveDirectory},
    {SYS_readlink, "readlink", kReadLink},
    {SYS_readlinkat, "readlinkat", kReadLink},
    {SYS_chmod, "chmod", kOwner},
    {SYS_fchmod, "fchmod", kOwner},
    {SYS_fchmodat, "fchmodat", kOwner},
    {SYS_chown, "chown", kOwner},
    {SYS_lchown, "lchown", kOwner},
    {SYS_fchown, "fchown", kOwner},
    {SYS_fchownat, "fchownat", kOwner},
    {SYS_truncate, "truncate", kTruncate},
    {SYS_ftruncate, "ftruncate", kTruncate},
    {SYS_lseek, "lseek", kSeek},
    {SYS_fcntl, "fcntl", kControl},
    {SYS_flock, "flock", kControl},
};

const Failures* find(long call) {
    for (const Failures& one : kFailures) {
        if (one.call == call) {
            return &one;
        }
    }
    return nullptr;
}

}  // namespace

std::span<const int> failuresOf(long call) {
    const Failures* const found = find(call);
    return found != nullptr ? found->ways : std::span<const int>();
}

std::string nameOfCall(long call) {
    const Failures* const found = find(call);
    return found != nullptr ? found->name : "call " + std::to_string(call);
}

std::string nameOfFailure(int failure) {
    return failure == kHalf ? "half of the bytes" : ::strerrorname_np(failure);
}

}  // namespace prove
