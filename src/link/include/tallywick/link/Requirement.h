// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tallywick/link/IdentityNote.h>

namespace tallywick {

// A parsed requirement text such as
//   anchor apple generic and certificate leaf[subject.OU] = "T" and (identifier "A" or identifier "B")
// Terms: `anchor apple generic` (the program carries a well-formed identity
// note), `certificate leaf[subject.OU] = "T"` (its team is T), `identifier "X"`
// (its identifier is X); joined by `and` (binding tighter) and `or`, with
// parentheses.
class Requirement {
public:
    static std::optional<Requirement> parse(std::string_view text);

    // No note (a program without one, or one that could not be read)
    // satisfies no term.
    bool isSatisfiedBy(const std::optional<IdentityNote>& note) const;

    struct Node;

private:
    explicit Requirement(std::shared_ptr<const Node> root) : root_(std::move(root)) {}
    std::shared_ptr<const Node> root_;
};

// A text that does not parse satisfies nothing.
bool satisfies(const std::optional<IdentityNote>& note, std::string_view requirementText);

}  // namespace tallywick
