// SPDX-License-Identifier: MIT
#include <tallywick/link/OptionParser.h>

#include <algorithm>

namespace tallywick {

Result<OptionParser::Parsed, std::string> OptionParser::parse(
    const std::vector<std::string>& arguments) const {
    const auto known = [](const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    Parsed parsed;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& word = arguments[i];
        if (word == "--") {
            if (spec_.passUnknown) parsed.positional.push_back(word);
            for (++i; i < arguments.size(); ++i) {
                if (!spec_.positional && !spec_.passUnknown)
                    return fail("unexpected argument '" + arguments[i] + "'");
                parsed.positional.push_back(arguments[i]);
            }
            break;
        }
        if (spec_.helpAndVersion && (word == "--help" || word == "-h")) {
            parsed.help = true;
            continue;
        }
        if (spec_.helpAndVersion && word == "--version") {
            parsed.version = true;
            continue;
        }
        if (word.size() < 3 || word.rfind("--", 0) != 0) {
            if (!spec_.positional && !spec_.passUnknown) return fail("unexpected argument '" + word + "'");
            parsed.positional.push_back(word);
            continue;
        }
        const auto equals = word.find('=');
        const std::string name = word.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        if (known(spec_.flags, name) && equals == std::string::npos) {
            parsed.flags.insert(name);
            continue;
        }
        if (!known(spec_.valued, name)) {
            if (spec_.passUnknown) {
                parsed.positional.push_back(word);
                continue;
            }
            return fail("unknown option '" + word + "'");
        }
        std::string value;
        if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        }
        if (value.empty()) return fail("option '--" + name + "' needs a value");
        parsed.values[name] = std::move(value);
    }
    return parsed;
}

}  // namespace tallywick
