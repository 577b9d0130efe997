// SPDX-License-Identifier: MIT
#pragma once

// The texts a hostile agent or file would send: markup, terminal sequences,
// C1 and bidi controls, NUL, line breaks, formulas. One list, kept in
// HostileCorpus.json beside this file, so the window, terminal, log and CSV
// tests (C++ and Python alike) all try the same texts.

#include <simdjson.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tallywick::test {

struct HostileText {
    std::string name;
    std::string text;
};

inline const std::vector<HostileText>& hostileCorpus() {
    static const std::vector<HostileText> corpus = [] {
        const std::string path = std::string(TALLYWICK_TEST_SUPPORT_DIR) + "/HostileCorpus.json";
        std::ifstream file(path, std::ios::binary);
        std::stringstream bytes;
        bytes << file.rdbuf();
        const simdjson::padded_string json(bytes.str());
        simdjson::ondemand::parser parser;
        simdjson::ondemand::document document = parser.iterate(json);
        std::vector<HostileText> out;
        for (simdjson::ondemand::object item : document.get_array()) {
            HostileText text;
            text.name = std::string(std::string_view(item["name"]));
            text.text = std::string(std::string_view(item["text"]));
            out.push_back(std::move(text));
        }
        if (out.empty()) throw std::runtime_error("no hostile texts in " + path);
        return out;
    }();
    return corpus;
}

// The corpus by name, for cases that need one particular text.
inline const std::string& hostileText(const std::string& name) {
    for (const HostileText& text : hostileCorpus())
        if (text.name == name) return text.text;
    throw std::runtime_error("no hostile text named " + name);
}

// For parameterised tests: the case's name is the text's name.
struct HostileTextName {
    template <class Info>
    std::string operator()(const Info& info) const {
        return info.param.name;
    }
};

}  // namespace tallywick::test
