// A bundle's library built for another machine is named as such: the dynamic loader says only
// "No such file or directory" (or "wrong ELF class") of it.
#include "kfhost/Host.hpp"

#include <elf.h>

#include <cstring>
#include <fstream>

namespace kfhost {
namespace {

#if defined(__x86_64__)
constexpr std::uint16_t kOwnMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr std::uint16_t kOwnMachine = EM_AARCH64;
#elif defined(__i386__)
constexpr std::uint16_t kOwnMachine = EM_386;
#elif defined(__arm__)
constexpr std::uint16_t kOwnMachine = EM_ARM;
#elif defined(__riscv)
constexpr std::uint16_t kOwnMachine = EM_RISCV;
#elif defined(__powerpc64__)
constexpr std::uint16_t kOwnMachine = EM_PPC64;
#elif defined(__s390x__)
constexpr std::uint16_t kOwnMachine = EM_S390;
#else
constexpr std::uint16_t kOwnMachine = EM_NONE; // unknown here: the loader decides alone
#endif

constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char kOwnData = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? ELFDATA2LSB : ELFDATA2MSB;

std::string MachineName(std::uint16_t machine)
{
    switch (machine) {
    case EM_X86_64:
        return "x86-64";
    case EM_386:
        return "32-bit x86";
    case EM_AARCH64:
        return "64-bit ARM";
    case EM_ARM:
        return "32-bit ARM";
    case EM_RISCV:
        return "RISC-V";
    case EM_PPC64:
        return "64-bit POWER";
    case EM_PPC:
        return "32-bit POWER";
    case EM_S390:
        return "s390";
    case EM_MIPS:
        return "MIPS";
    case EM_LOONGARCH:
        return "LoongArch";
    default:
        return "ELF machine " + std::to_string(machine);
    }
}

std::string Described(std::uint16_t machine, unsigned char elfClass)
{
    return MachineName(machine) + " (" + (elfClass == ELFCLASS64 ? "64" : "32") + "-bit ELF)";
}

} // namespace

std::string ForeignLibrary(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    unsigned char ident[EI_NIDENT + 4]{};
    if (!in.read(reinterpret_cast<char*>(ident), sizeof ident))
        return in.gcount() == 0 && !in.bad() ? path.filename().string() + " is empty, not a shared library"
                                             : path.filename().string() + " is too short to be a shared library";
    if (std::memcmp(ident, ELFMAG, SELFMAG) != 0)
        return path.filename().string() + " is not a shared library (no ELF header)";
    // e_type and e_machine follow the identification in either word size, in the file's byte order.
    const unsigned char elfClass = ident[EI_CLASS];
    const bool little = ident[EI_DATA] == ELFDATA2LSB;
    const std::uint16_t machine = little ? std::uint16_t(ident[EI_NIDENT + 2] | ident[EI_NIDENT + 3] << 8)
                                         : std::uint16_t(ident[EI_NIDENT + 2] << 8 | ident[EI_NIDENT + 3]);
    if (kOwnMachine == EM_NONE)
        return {};
    if (machine != kOwnMachine || elfClass != kOwnClass || ident[EI_DATA] != kOwnData)
        return path.filename().string() + " is built for " + Described(machine, elfClass) + ", and this host runs on " +
               Described(kOwnMachine, kOwnClass) + ": rebuild the bundle for this machine";
    return {};
}

} // namespace kfhost
