// Tells which functions a program calls: an audit library of the dynamic linker, which asks it when a
// function is bound. With lazy binding, that is at the first call. The names go to the file that CALLED_NAMES
// names, one a line.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <link.h>

namespace
{

std::FILE *output()
{
    static std::FILE *const file = std::fopen(std::getenv("CALLED_NAMES"), "a");
    return file;
}

} // namespace

extern "C" {

unsigned int la_version(unsigned int version)
{
    return version;
}

// Calls from the program into the library are of interest, and bindings in no other direction.
unsigned int la_objopen(link_map *map, Lmid_t, uintptr_t *cookie)
{
    *cookie = reinterpret_cast<uintptr_t>(map);
    if (map->l_name[0] == '\0')
        return LA_FLG_BINDFROM;
    return std::strstr(map->l_name, "libclntsh.so") ? LA_FLG_BINDTO : 0;
}

uintptr_t la_symbind64(Elf64_Sym *symbol, unsigned int, uintptr_t *, uintptr_t *, unsigned int *flags,
                       const char *name)
{
    // Calls through the address that a look-up with dlsym gives are none of the linker's.
    if (!(*flags & LA_SYMB_DLSYM) && output()) {
        std::fprintf(output(), "%s\n", name);
        std::fflush(output());
    }
    return symbol->st_value;
}

} // extern "C"
