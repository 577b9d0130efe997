// SPDX-License-Identifier: MIT
#include <tallywick/link/IdentityNote.h>

#include <elf.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <cstring>
#include <vector>

namespace tallywick {
namespace {

constexpr std::size_t kMaxProgramHeaders = 256;
constexpr std::size_t kMaxNoteSegment = std::size_t{64} * 1024;

class FdReader {
public:
    explicit FdReader(int fd, bool swap) : fd_(fd), swap_(swap) {}

    bool read(std::uint64_t offset, void* out, std::size_t size) const {
        if (offset > static_cast<std::uint64_t>(INT64_MAX)) return false;
        auto* bytes = static_cast<char*>(out);
        std::size_t done = 0;
        while (done < size) {
            const ssize_t n = ::pread(fd_, bytes + done, size - done, static_cast<off_t>(offset + done));
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    }

    template <class T>
    T fix(T value) const {
        if (!swap_) return value;
        T out{};
        auto* from = reinterpret_cast<unsigned char*>(&value);
        auto* to = reinterpret_cast<unsigned char*>(&out);
        for (std::size_t i = 0; i < sizeof(T); ++i) to[i] = from[sizeof(T) - 1 - i];
        return out;
    }

private:
    int fd_;
    bool swap_;
};

std::uint32_t load32(const char* at, const FdReader& reader) {
    std::uint32_t value;
    std::memcpy(&value, at, 4);
    return reader.fix(value);
}

constexpr std::size_t align4(std::size_t n) {
    return (n + 3) & ~std::size_t{3};
}

// Walks one PT_NOTE segment's notes looking for ours.
std::optional<IdentityNote> findInSegment(const std::vector<char>& segment, const FdReader& reader) {
    std::size_t at = 0;
    while (segment.size() - at >= 12) {
        const std::uint32_t nameSize = load32(segment.data() + at, reader);
        const std::uint32_t descSize = load32(segment.data() + at + 4, reader);
        const std::uint32_t type = load32(segment.data() + at + 8, reader);
        at += 12;
        if (nameSize > segment.size() - at) return std::nullopt;
        const std::string_view name(segment.data() + at, nameSize);
        at += align4(nameSize);
        if (at > segment.size() || descSize > segment.size() - at) return std::nullopt;
        const std::string_view descriptor(segment.data() + at, descSize);
        at += align4(descSize);
        if (type == kIdentityNoteType && name.size() == kIdentityNoteOwner.size() + 1 &&
            name.substr(0, kIdentityNoteOwner.size()) == kIdentityNoteOwner && name.back() == '\0') {
            return parseIdentityDescriptor(descriptor);
        }
        if (at > segment.size()) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

std::optional<IdentityNote> parseIdentityDescriptor(std::string_view descriptor) {
    const auto firstNul = descriptor.find('\0');
    if (firstNul == std::string_view::npos) return std::nullopt;
    const auto secondNul = descriptor.find('\0', firstNul + 1);
    if (secondNul == std::string_view::npos || secondNul + 1 != descriptor.size()) return std::nullopt;
    IdentityNote note{std::string(descriptor.substr(0, firstNul)),
                      std::string(descriptor.substr(firstNul + 1, secondNul - firstNul - 1))};
    if (note.team.size() != 10 || note.identifier.empty()) return std::nullopt;
    for (char c : note.team) {
        const bool alnum = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        if (!alnum) return std::nullopt;
    }
    for (char c : note.identifier) {
        if (static_cast<unsigned char>(c) < 0x21 || static_cast<unsigned char>(c) > 0x7e) return std::nullopt;
    }
    return note;
}

std::optional<IdentityNote> readIdentityNote(int fd) {
    std::array<unsigned char, EI_NIDENT> ident{};
    if (::pread(fd, ident.data(), ident.size(), 0) != static_cast<ssize_t>(ident.size())) return std::nullopt;
    if (std::memcmp(ident.data(), ELFMAG, SELFMAG) != 0 || ident[EI_CLASS] != ELFCLASS64) return std::nullopt;
    const bool little = ident[EI_DATA] == ELFDATA2LSB;
    if (!little && ident[EI_DATA] != ELFDATA2MSB) return std::nullopt;
    const bool hostLittle = std::endian::native == std::endian::little;
    const FdReader reader(fd, little != hostLittle);

    Elf64_Ehdr header;
    if (!reader.read(0, &header, sizeof header)) return std::nullopt;
    const std::uint64_t phoff = reader.fix(header.e_phoff);
    const std::size_t phnum = reader.fix(header.e_phnum);
    if (reader.fix(header.e_phentsize) != sizeof(Elf64_Phdr) || phnum > kMaxProgramHeaders)
        return std::nullopt;

    for (std::size_t i = 0; i < phnum; ++i) {
        Elf64_Phdr program;
        if (!reader.read(phoff + i * sizeof program, &program, sizeof program)) return std::nullopt;
        if (reader.fix(program.p_type) != PT_NOTE) continue;
        const std::uint64_t size = reader.fix(program.p_filesz);
        if (size > kMaxNoteSegment) continue;
        std::vector<char> segment(size);
        if (!reader.read(reader.fix(program.p_offset), segment.data(), segment.size())) continue;
        if (auto note = findInSegment(segment, reader)) return note;
    }
    return std::nullopt;
}

std::optional<IdentityNote> readIdentityNote(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    auto note = readIdentityNote(fd);
    ::close(fd);
    return note;
}

}  // namespace tallywick
