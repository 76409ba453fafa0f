// The file calls of the test program, the library's and the tests' own, come through here. One with an absolute path
// that is neither in the open phone nor in a few folders of the machine fails with EACCES, and so does the test. The
// simulated phone is a library of its own; its calls go past the guard.
//
// The linker sends calls of NAME to __wrap_NAME, and calls of __real_NAME to NAME: tests/CMakeLists.txt hands it the
// names of the rows below. The program is built with file offsets of 64 bits, so open() is a call of open64, and so on.
#include <dirent.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/types.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "simulator/simulated_device.h"

struct stat;
struct timespec;

namespace atd {
namespace {

constexpr const char* kFolders[] = {"/tmp", "/dev/null", "/dev/shm", "/dev/urandom", "/proc/self",
                                    // Where the simulated card sends calls that are to fail.
                                    "/dev/full", "/sys/kernel"};

bool is_below(std::string_view path, std::string_view folder) {
  if (folder.ends_with('/')) folder.remove_suffix(1);
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool is_allowed(const char* path) {
  if (path == nullptr || path[0] != '/') return true;
  const std::string target = std::filesystem::path(path).lexically_normal();
  const sim::SimulatedDevice* phone = sim::SimulatedDevice::open_now();
  // A path may not leave the phone that it begins in, not even for a folder that is allowed.
  if (phone != nullptr && is_below(path, phone->root())) return is_below(target, phone->root());
  for (const char* folder : kFolders) {
    if (is_below(target, folder)) return true;
  }
  return is_below(target, testing::TempDir());
}

// True when the call may be made; else the test has failed. GoogleTest's own files, between tests, may be anywhere.
bool may_call(const char* function, std::initializer_list<const char*> paths) {
  for (const char* path : paths) {
    if (is_allowed(path) || testing::UnitTest::GetInstance()->current_test_info() == nullptr) continue;
    ADD_FAILURE() << function << ": " << path << " is not in the phone; device_path() gives its place there";
    errno = EACCES;
    return false;
  }
  return true;
}

template <typename Result>
Result failed() {
  if constexpr (std::is_pointer_v<Result>) return nullptr;
  else return -1;
}

}  // namespace
}  // namespace atd

// A row for each function: result, name, parameters and arguments; a second path that it acts upon comes last. The
// first path is always named `path`.
#define GUARDED(result, name, parameters, arguments, ...)                                       \
  extern "C" result __real_##name parameters;                                                   \
  extern "C" result __wrap_##name parameters {                                                  \
    if (!atd::may_call(#name, {path __VA_OPT__(, ) __VA_ARGS__})) return atd::failed<result>(); \
    return __real_##name arguments;                                                             \
  }

// clang-format off
// The mode is given only for a file that is made. Else it is passed on all the same, and is not read.
GUARDED(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode))
GUARDED(int, openat64, (int folder, const char* path, int flags, mode_t mode), (folder, path, flags, mode))
GUARDED(FILE*, fopen64, (const char* path, const char* mode), (path, mode))
GUARDED(DIR*, opendir, (const char* path), (path))

GUARDED(int, stat64, (const char* path, struct stat* out), (path, out))
GUARDED(int, lstat64, (const char* path, struct stat* out), (path, out))
GUARDED(int, fstatat64, (int folder, const char* path, struct stat* out, int flags), (folder, path, out, flags))
GUARDED(int, access, (const char* path, int mode), (path, mode))
GUARDED(ssize_t, readlink, (const char* path, char* out, size_t size), (path, out, size))
GUARDED(char*, realpath, (const char* path, char* out), (path, out))
GUARDED(int, chdir, (const char* path), (path))

GUARDED(int, mkdir, (const char* path, mode_t mode), (path, mode))
GUARDED(int, mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode))
GUARDED(int, mkfifo, (const char* path, mode_t mode), (path, mode))
GUARDED(int, symlink, (const char* text, const char* path), (text, path))
GUARDED(int, link, (const char* path, const char* name), (path, name), name)
GUARDED(int, rename, (const char* path, const char* name), (path, name), name)
GUARDED(int, renameat, (int from, const char* path, int to, const char* name), (from, path, to, name), name)
GUARDED(int, remove, (const char* path), (path))
GUARDED(int, rmdir, (const char* path), (path))
GUARDED(int, unlink, (const char* path), (path))
GUARDED(int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags))

GUARDED(int, chmod, (const char* path, mode_t mode), (path, mode))
GUARDED(int, chown, (const char* path, uid_t user, gid_t group), (path, user, group))
GUARDED(int, truncate64, (const char* path, off_t size), (path, size))
GUARDED(int, utimensat, (int folder, const char* path, const timespec* times, int flags), (folder, path, times, flags))

// What some of these are called with _FORTIFY_SOURCE.
GUARDED(int, __open64_2, (const char* path, int flags), (path, flags))
GUARDED(int, __openat64_2, (int folder, const char* path, int flags), (folder, path, flags))
GUARDED(char*, __realpath_chk, (const char* path, char* out, size_t size), (path, out, size))
GUARDED(ssize_t, __readlink_chk, (const char* path, char* out, size_t size, size_t all), (path, out, size, all))
// clang-format on
