// Release of clean file pages and free heap; see memory_release.h.
#include "zelk/render/memory_release.h"

#include <link.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace zelk {

namespace {

/// Segments without the write flag hold no relocated data, so their pages equal their files' for
/// good. Code is left alone: it is in use, and a debugger's breakpoints live in it.
int releaseTables(dl_phdr_info* object, std::size_t, void* pageBytes) {
    auto const page = *static_cast<std::uintptr_t const*>(pageBytes);
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        auto const& segment = object->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || segment.p_flags != PF_R) continue;
        std::uintptr_t const first = object->dlpi_addr + segment.p_vaddr;
        std::uintptr_t const begin = (first + page - 1) / page * page;
        std::uintptr_t const end = (first + segment.p_filesz) / page * page;
        if (begin < end) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
    }
    return 0;
}

}  // namespace

void releaseStartupMemory() {
    auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    ::dl_iterate_phdr(releaseTables, &page);
    ::malloc_trim(0);
}

}  // namespace zelk
