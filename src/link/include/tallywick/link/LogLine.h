// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

// One log call, one line, one journal record. journald splits a stream at
// NUL as well as at line feeds and reads a "<N>" at a line's start as its
// priority, and a terminal acts on ESC and CR; so the message's control
// characters are escaped (EscapedText) and the line is written whole, in
// one write, with the priority the program chose in front when standard
// error is the journal's stream and `prefix` in front otherwise.
namespace tallywick::LogLine {

enum class Priority { error = 3, warning = 4, notice = 5, info = 6 };

// The line as written, its line feed included.
std::string format(std::string_view prefix, Priority priority, std::string_view message, bool journal);

// Writes the line to standard error; a closed or full stream loses it,
// nothing else.
void write(std::string_view prefix, Priority priority, std::string_view message);

// Writes a formatted line whole to `fd`; false when it could not.
bool writeWhole(int fd, std::string_view line);

}  // namespace tallywick::LogLine
