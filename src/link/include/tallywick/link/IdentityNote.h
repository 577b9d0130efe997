// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// The identity each of our executables carries in an ELF note
// (section .note.tallywick, owner "Tallywick", type 1, descriptor
// team NUL identifier NUL).
struct IdentityNote {
    std::string team;
    std::string identifier;

    friend bool operator==(const IdentityNote&, const IdentityNote&) = default;
};

inline constexpr std::string_view kIdentityNoteOwner = "Tallywick";
inline constexpr unsigned kIdentityNoteType = 1;

// Reads the note from an open ELF file (64-bit, either byte order), through
// its program headers. Untrusted input: every offset and size is checked, and
// at most a few KiB are read. None when absent or malformed.
std::optional<IdentityNote> readIdentityNote(int fd);
std::optional<IdentityNote> readIdentityNote(const std::string& path);

// The descriptor's parsing on its own: exactly two NUL-terminated texts, a
// ten-character team of letters and digits and a non-empty identifier.
std::optional<IdentityNote> parseIdentityDescriptor(std::string_view descriptor);

}  // namespace tallywick
