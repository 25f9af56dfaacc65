// Put before a program with LD_PRELOAD: lets chosen system calls fail, as a full or broken disk would. The
// file named by KRX_FAULTS says which, one a line: the call, a part of the path (with "$" behind it: its
// end), the errno value. It is read at every call, so that a test can break and mend the disk while the
// program runs. A "stat" or an "unlink" does not fail: it hangs. "clock now" puts the clock on the wall so
// many seconds on, or back.

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

template <typename Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

bool fits(const char* path, std::string part)
{
    if (part.back() != '$')
        return std::strstr(path, part.c_str());
    part.pop_back();
    const std::size_t size = std::strlen(path);
    return size >= part.size() && path + (size - part.size()) == part;
}

/// The errno value with which \a call on \a path is to fail, or 0.
int faultOf(const char* call, const char* path)
{
    const char* control = std::getenv("KRX_FAULTS");
    std::FILE* file = control ? std::fopen(control, "re") : nullptr;
    if (!file)
        return 0;
    char name[64];
    char part[512];
    int error = 0;
    int found = 0;
    while (found == 0 && std::fscanf(file, "%63s %511s %d", name, part, &error) == 3) {
        if (std::strcmp(name, call) == 0 && fits(path, part))
            found = error;
    }
    std::fclose(file);
    return found;
}

int faultOf(const char* call, int descriptor)
{
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t size = ::readlink(link.c_str(), path, sizeof path - 1);
    if (size <= 0)
        return 0;
    path[size] = 0;
    return faultOf(call, path);
}

template <typename Result>
Result failed(int error)
{
    errno = error;
    return static_cast<Result>(-1);
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int rename(const char* from, const char* to)
{
    if (const int error = faultOf("rename", to))
        return failed<int>(error);
    return real<int (*)(const char*, const char*)>("rename")(from, to);
}

__attribute__((visibility("default"))) int renameat2(int fromAt, const char* from, int toAt, const char* to,
                                                     unsigned flags)
{
    if (const int error = faultOf("rename", to))
        return failed<int>(error);
    return real<int (*)(int, const char*, int, const char*, unsigned)>("renameat2")(fromAt, from, toAt, to,
                                                                                    flags);
}

/// Only the clock on the wall can be set.
__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time)
{
    const int result = real<int (*)(clockid_t, timespec*)>("clock_gettime")(clock, time);
    if (result == 0 && clock == CLOCK_REALTIME)
        time->tv_sec += faultOf("clock", "now");
    return result;
}

/// Does not answer while the control file says so.
__attribute__((visibility("default"))) int stat(const char* path, struct stat* facts)
{
    while (faultOf("stat", path) != 0)
        ::usleep(10000);
    return real<int (*)(const char*, struct stat*)>("stat")(path, facts);
}

__attribute__((visibility("default"))) int unlink(const char* path)
{
    while (faultOf("unlink", path) != 0)
        ::usleep(10000);
    return real<int (*)(const char*)>("unlink")(path);
}

__attribute__((visibility("default"))) int fsync(int descriptor)
{
    if (const int error = faultOf("sync", descriptor))
        return failed<int>(error);
    return real<int (*)(int)>("fsync")(descriptor);
}

__attribute__((visibility("default"))) int fdatasync(int descriptor)
{
    if (const int error = faultOf("sync", descriptor))
        return failed<int>(error);
    return real<int (*)(int)>("fdatasync")(descriptor);
}

__attribute__((visibility("default"))) ssize_t write(int descriptor, const void* data, size_t size)
{
    if (const int error = faultOf("write", descriptor))
        return failed<ssize_t>(error);
    return real<ssize_t (*)(int, const void*, size_t)>("write")(descriptor, data, size);
}

__attribute__((visibility("default"))) ssize_t pwrite(int descriptor, const void* data, size_t size, off_t at)
{
    if (const int error = faultOf("write", descriptor))
        return failed<ssize_t>(error);
    return real<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite")(descriptor, data, size, at);
}

__attribute__((visibility("default"))) ssize_t pwrite64(int descriptor, const void* data, size_t size,
                                                        off64_t at)
{
    if (const int error = faultOf("write", descriptor))
        return failed<ssize_t>(error);
    return real<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64")(descriptor, data, size, at);
}

} // extern "C"
