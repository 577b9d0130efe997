// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

// Data text for a terminal or a log line. Agents choose names and client
// information, and files bring memos: none of it may move the cursor, clear
// the screen, write the clipboard, start a new log record or reorder the
// text around it. So every character a terminal or the journal would act on
// is shown as a visible escape instead, and all else stays as it is.
namespace tallywick::EscapedText {

// C0 controls as \n, \r, \t or \xNN, DEL as \x7f; C1 controls, the bidi
// controls (U+061C, U+200E/F, U+202A-E, U+2066-9) and the invisible spaces
// (U+200B, U+2060, U+FEFF) as \uNNNN; bytes that are not UTF-8 as \xNN; and
// the backslash itself as \\ so that no escape is ambiguous. Joiners stay,
// as emoji and scripts need them.
std::string of(std::string_view text);

// A JSON text with the characters above that JSON lets stand raw inside
// strings (DEL, C1, bidi, invisible spaces) written as \u escapes: the same JSON value,
// safe to print.
std::string json(std::string_view json);

}  // namespace tallywick::EscapedText
