// Linked into a test that must not read freed memory: what is deleted is overwritten, so that a stale read
// meets nonsense at once instead of what was there before.

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

// The sanitizers watch freed memory themselves and bring their own operators.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

constexpr int kScribble = 0xdb;

void scribbleAndFree(void* memory) noexcept
{
    if (!memory)
        return;
    // Through a volatile pointer: a store to memory that is freed next would be left out as useless.
    auto* const volatile target = memory;
    std::memset(target, kScribble, malloc_usable_size(memory));
    std::free(memory);
}

} // namespace

void operator delete(void* memory) noexcept
{
    scribbleAndFree(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    scribbleAndFree(memory);
}

void operator delete[](void* memory) noexcept
{
    scribbleAndFree(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    scribbleAndFree(memory);
}

#endif
