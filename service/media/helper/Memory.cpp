#include "media/helper/Memory.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace {

bool refused = false;

void* noted(void* memory, std::size_t size)
{
    refused = refused || (!memory && size > 0);
    return memory;
}

} // namespace

namespace krxmedia::memory {

bool wasRefused()
{
    const bool was = refused;
    refused = false;
    return was;
}

} // namespace krxmedia::memory

// The media libraries take a failed allocation for a damaged file, and go on. So the two functions by which
// they get memory stand here in the place of the system's own, and note it.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" {

// The system's own, by the name that its library gives it.
void* __libc_realloc(void* memory, std::size_t size); // NOLINT(bugprone-reserved-identifier)

__attribute__((visibility("default"))) void* realloc(void* memory, std::size_t size) noexcept
{
    return noted(__libc_realloc(memory, size), size);
}

__attribute__((visibility("default"))) int posix_memalign(void** memory, std::size_t alignment,
                                                          std::size_t size) noexcept
{
    void* const made =
        noted(std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment), size);
    if (!made && size > 0)
        return ENOMEM;
    *memory = made;
    return 0;
}

} // extern "C"
#endif
