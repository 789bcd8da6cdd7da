#include "elf_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gelf.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "oci_manager/version_note.h"

namespace dkom_check
{

namespace
{

// Libraries are loaded into processes like this one.
constexpr unsigned char own_class = sizeof(void *) == 8 ? ELFCLASS64 : ELFCLASS32;
#if defined(__x86_64__)
constexpr GElf_Half own_machine = EM_X86_64;
#elif defined(__aarch64__)
constexpr GElf_Half own_machine = EM_AARCH64;
#else
#    error "name the ELF machine of this system"
#endif

std::string name_of_machine(GElf_Half machine)
{
    switch (machine) {
    case EM_386:
        return "x86";
    case EM_X86_64:
        return "x86-64";
    case EM_ARM:
        return "ARM";
    case EM_AARCH64:
        return "64-bit ARM";
    case EM_PPC64:
        return "64-bit PowerPC";
    case EM_S390:
        return "IBM S/390";
    case EM_SPARCV9:
        return "64-bit SPARC";
    case EM_IA_64:
        return "Itanium";
    case EM_RISCV:
        return "RISC-V";
    default:
        return fmt::format("machine {}", machine);
    }
}

class Descriptor
{
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

struct EndElf {
    void operator()(Elf *elf) const { elf_end(elf); }
};
using ElfPointer = std::unique_ptr<Elf, EndElf>;

ElfFile faulty(FileFault fault, std::string reason)
{
    ElfFile file;
    file.fault = fault;
    file.reason = std::move(reason);
    return file;
}

FileFault fault_of_errno(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        return FileFault::missing;
    case EACCES:
    case EPERM:
        return FileFault::no_permission;
    default:
        return FileFault::not_regular;
    }
}

/// Texts in a section of strings may be anything in a damaged file.
std::string text_at(Elf *elf, std::size_t section, std::size_t offset)
{
    const char *text = elf_strptr(elf, section, offset);
    return text != nullptr ? text : "";
}

void read_symbols(Elf *elf, Elf_Data *data, const GElf_Shdr &header, ElfFile &file)
{
    const std::size_t count = header.sh_entsize > 0 ? header.sh_size / header.sh_entsize : 0;
    for (std::size_t i = 1; i < count; i++) {
        GElf_Sym symbol;
        if (gelf_getsym(data, static_cast<int>(i), &symbol) == nullptr)
            return;
        const std::string name = text_at(elf, header.sh_link, symbol.st_name);
        if (symbol.st_shndx == SHN_UNDEF)
            file.undefined.insert(name);
        else if (GELF_ST_BIND(symbol.st_info) != STB_LOCAL)
            file.defined.insert(name);
    }
}

void read_needed(Elf *elf, Elf_Data *data, const GElf_Shdr &header, ElfFile &file)
{
    const std::size_t count = header.sh_entsize > 0 ? header.sh_size / header.sh_entsize : 0;
    for (std::size_t i = 0; i < count; i++) {
        GElf_Dyn entry;
        if (gelf_getdyn(data, static_cast<int>(i), &entry) == nullptr || entry.d_tag == DT_NULL)
            return;
        if (entry.d_tag == DT_NEEDED)
            file.needed.push_back(text_at(elf, header.sh_link, entry.d_un.d_val));
    }
}

std::optional<ManagerNote> manager_note(std::string_view text)
{
    constexpr std::string_view begin = OM_VERSION_TEXT_BEGIN;
    constexpr std::string_view middle = OM_VERSION_TEXT_MIDDLE;
    const std::size_t at = text.find(middle);
    if (!text.starts_with(begin) || at == std::string_view::npos || at < begin.size())
        return std::nullopt;
    return ManagerNote{std::string(text.substr(begin.size(), at - begin.size())),
                       std::string(text.substr(at + middle.size()))};
}

void read_notes(Elf_Data *data, ElfFile &file)
{
    GElf_Nhdr note;
    std::size_t name = 0;
    std::size_t description = 0;
    for (std::size_t next = 0; (next = gelf_getnote(data, next, &note, &name, &description)) > 0;) {
        const char *bytes = static_cast<const char *>(data->d_buf);
        if (note.n_type == OM_NOTE_TYPE && note.n_namesz == sizeof OM_NOTE_OWNER && note.n_descsz > 0 &&
            std::memcmp(bytes + name, OM_NOTE_OWNER, sizeof OM_NOTE_OWNER) == 0)
            file.note = manager_note({bytes + description, note.n_descsz - 1});
    }
}

void read_sections(Elf *elf, ElfFile &file)
{
    for (Elf_Scn *section = nullptr; (section = elf_nextscn(elf, section)) != nullptr;) {
        GElf_Shdr header;
        if (gelf_getshdr(section, &header) == nullptr)
            continue;
        if (header.sh_type != SHT_DYNSYM && header.sh_type != SHT_DYNAMIC && header.sh_type != SHT_NOTE)
            continue;
        Elf_Data *data = elf_getdata(section, nullptr);
        if (data == nullptr)
            continue;
        if (header.sh_type == SHT_DYNSYM)
            read_symbols(elf, data, header, file);
        else if (header.sh_type == SHT_DYNAMIC)
            read_needed(elf, data, header, file);
        else
            read_notes(data, file);
    }
}

/// Whether what the loader maps is there, and whether there is something for it to link.
ElfFile check_segments(Elf *elf, std::size_t size)
{
    std::size_t count = 0;
    bool is_dynamic = false;
    if (elf_getphdrnum(elf, &count) != 0)
        return faulty(FileFault::truncated, "it ends in its headers");
    for (std::size_t i = 0; i < count; i++) {
        GElf_Phdr segment;
        if (gelf_getphdr(elf, static_cast<int>(i), &segment) == nullptr)
            return faulty(FileFault::truncated, "it ends in its headers");
        is_dynamic = is_dynamic || segment.p_type == PT_DYNAMIC;
        if (segment.p_type == PT_LOAD &&
            (segment.p_offset > size || segment.p_filesz > size - segment.p_offset))
            return faulty(FileFault::truncated, fmt::format("it is cut off: it has {} bytes, and its headers "
                                                            "announce {} at least",
                                                            size, segment.p_offset + segment.p_filesz));
    }
    if (!is_dynamic)
        return faulty(FileFault::not_loadable, "it is linked statically, or no program or library at all");
    return {};
}

ElfFile check_headers(Elf *elf, std::size_t size)
{
    GElf_Ehdr header;
    if (gelf_getehdr(elf, &header) == nullptr)
        return faulty(FileFault::truncated, "it ends in its headers");
    if (header.e_ident[EI_CLASS] != own_class)
        return faulty(FileFault::wrong_class, fmt::format("it is for {}-bit programs ({})",
                                                          header.e_ident[EI_CLASS] == ELFCLASS64 ? 64 : 32,
                                                          name_of_machine(header.e_machine)));
    if (header.e_machine != own_machine)
        return faulty(FileFault::wrong_machine,
                      fmt::format("it is for another machine: {}", name_of_machine(header.e_machine)));
    if (header.e_type != ET_DYN && header.e_type != ET_EXEC)
        return faulty(FileFault::not_loadable, "it is an object file, not linked");
    return check_segments(elf, size);
}

} // namespace

const char *name_of(FileFault fault)
{
    switch (fault) {
    case FileFault::none:
        return "none";
    case FileFault::missing:
        return "missing";
    case FileFault::no_permission:
        return "no permission";
    case FileFault::not_regular:
        return "no regular file";
    case FileFault::empty:
        return "empty";
    case FileFault::not_elf:
        return "not ELF";
    case FileFault::truncated:
        return "truncated";
    case FileFault::wrong_class:
        return "wrong class";
    case FileFault::wrong_machine:
        return "wrong machine";
    case FileFault::not_loadable:
        break;
    }
    return "not loadable";
}

ElfFile read_elf(const std::string &path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        const int error = errno;
        return faulty(fault_of_errno(error), std::strerror(error));
    }
    if (!S_ISREG(status.st_mode))
        return faulty(FileFault::not_regular,
                      S_ISDIR(status.st_mode) ? "it is a directory" : "it is no regular file");
    if (status.st_size == 0)
        return faulty(FileFault::empty, "it is empty");
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        const int error = errno;
        return faulty(fault_of_errno(error), std::strerror(error));
    }
    elf_version(EV_CURRENT);
    const ElfPointer elf(elf_begin(file.get(), ELF_C_READ, nullptr));
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF) {
        char magic[SELFMAG] = "";
        const bool begins_well =
            pread(file.get(), magic, sizeof magic, 0) == SELFMAG && std::memcmp(magic, ELFMAG, SELFMAG) == 0;
        return begins_well ? faulty(FileFault::truncated, "it ends in its headers")
                           : faulty(FileFault::not_elf, "it is no ELF file, so neither library nor program");
    }
    ElfFile result = check_headers(elf.get(), static_cast<std::size_t>(status.st_size));
    if (result.fault == FileFault::none)
        read_sections(elf.get(), result);
    return result;
}

} // namespace dkom_check
