// SPDX-License-Identifier: MIT
#include <tallywick/link/Requirement.h>

#include <variant>
#include <vector>

namespace tallywick {

struct Requirement::Node {
    enum class Kind { anchor, team, identifier, both, either };
    Kind kind;
    std::string value;  // for team and identifier
    std::shared_ptr<const Node> left, right;
};

namespace {

using Node = Requirement::Node;
using NodePtr = std::shared_ptr<const Node>;

struct Token {
    enum class Kind { word, text, open, close, end } kind;
    std::string value;
};

// Words run to whitespace, parentheses, quotes and '='; "leaf[subject.OU]" is
// therefore one word. Texts are double-quoted without escapes.
std::optional<std::vector<Token>> tokenize(std::string_view text) {
    std::vector<Token> tokens;
    std::size_t at = 0;
    while (at < text.size()) {
        const char c = text[at];
        if (c == ' ' || c == '\t' || c == '\n') {
            ++at;
        } else if (c == '(' || c == ')') {
            tokens.push_back({c == '(' ? Token::Kind::open : Token::Kind::close, {}});
            ++at;
        } else if (c == '=') {
            tokens.push_back({Token::Kind::word, "="});
            ++at;
        } else if (c == '"') {
            const auto close = text.find('"', at + 1);
            if (close == std::string_view::npos) return std::nullopt;
            tokens.push_back({Token::Kind::text, std::string(text.substr(at + 1, close - at - 1))});
            at = close + 1;
        } else {
            const auto end = text.find_first_of(" \t\n()=\"", at);
            const auto stop = end == std::string_view::npos ? text.size() : end;
            tokens.push_back({Token::Kind::word, std::string(text.substr(at, stop - at))});
            at = stop;
        }
    }
    tokens.push_back({Token::Kind::end, {}});
    return tokens;
}

class Parser {
public:
    explicit Parser(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

    NodePtr parseAll() {
        auto node = parseOr();
        return node && peek().kind == Token::Kind::end ? node : nullptr;
    }

private:
    const Token& peek() const { return tokens_[at_]; }
    bool word(std::string_view w) {
        if (peek().kind != Token::Kind::word || peek().value != w) return false;
        ++at_;
        return true;
    }
    std::optional<std::string> text() {
        if (peek().kind != Token::Kind::text) return std::nullopt;
        return tokens_[at_++].value;
    }

    NodePtr parseOr() {
        auto left = parseAnd();
        while (left && word("or")) {
            auto right = parseAnd();
            if (!right) return nullptr;
            left = std::make_shared<const Node>(Node{Node::Kind::either, {}, left, right});
        }
        return left;
    }

    NodePtr parseAnd() {
        auto left = parseTerm();
        while (left && word("and")) {
            auto right = parseTerm();
            if (!right) return nullptr;
            left = std::make_shared<const Node>(Node{Node::Kind::both, {}, left, right});
        }
        return left;
    }

    NodePtr parseTerm() {
        if (peek().kind == Token::Kind::open) {
            ++at_;
            auto inner = parseOr();
            if (!inner || peek().kind != Token::Kind::close) return nullptr;
            ++at_;
            return inner;
        }
        if (word("anchor")) {
            if (!word("apple") || !word("generic")) return nullptr;
            return std::make_shared<const Node>(Node{Node::Kind::anchor, {}, nullptr, nullptr});
        }
        if (word("certificate")) {
            if (!word("leaf[subject.OU]") || !word("=")) return nullptr;
            auto team = text();
            if (!team) return nullptr;
            return std::make_shared<const Node>(Node{Node::Kind::team, *team, nullptr, nullptr});
        }
        if (word("identifier")) {
            auto identifier = text();
            if (!identifier) return nullptr;
            return std::make_shared<const Node>(Node{Node::Kind::identifier, *identifier, nullptr, nullptr});
        }
        return nullptr;
    }

    std::vector<Token> tokens_;
    std::size_t at_ = 0;
};

bool evaluate(const Node& node, const IdentityNote& note) {
    switch (node.kind) {
        case Node::Kind::anchor: return true;  // a note was read and is well formed
        case Node::Kind::team: return note.team == node.value;
        case Node::Kind::identifier: return note.identifier == node.value;
        case Node::Kind::both: return evaluate(*node.left, note) && evaluate(*node.right, note);
        case Node::Kind::either: return evaluate(*node.left, note) || evaluate(*node.right, note);
    }
    return false;
}

}  // namespace

std::optional<Requirement> Requirement::parse(std::string_view text) {
    // Deep parentheses cannot exhaust the stack: requirement texts are ours
    // and short, so anything longer is refused before parsing.
    if (text.size() > 4096) return std::nullopt;
    auto tokens = tokenize(text);
    if (!tokens) return std::nullopt;
    auto root = Parser(std::move(*tokens)).parseAll();
    if (!root) return std::nullopt;
    return Requirement(std::move(root));
}

bool Requirement::isSatisfiedBy(const std::optional<IdentityNote>& note) const {
    return note && evaluate(*root_, *note);
}

bool satisfies(const std::optional<IdentityNote>& note, std::string_view requirementText) {
    auto requirement = Requirement::parse(requirementText);
    return requirement && requirement->isSatisfiedBy(note);
}

}  // namespace tallywick
