// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <tallywick/model/Result.h>

namespace tallywick {

// The one reader of our programs' command lines: long options as
// "--name value" or "--name=value", "-h" for "--help", and "--" ending the
// options. Every program gets the same --help and --version handling and
// the same error texts.
class OptionParser {
public:
    struct Parsed {
        bool help = false;
        bool version = false;
        std::set<std::string> flags;                // given flags, by name without dashes
        std::map<std::string, std::string> values;  // given values, by name; the last one counts
        std::vector<std::string> positional;        // everything else, in order
    };

    struct Spec {
        std::vector<std::string> flags{};   // options without a value
        std::vector<std::string> valued{};  // options that take one
        // Words that are not options are kept in order; otherwise each is an error.
        bool positional = false;
        // Options this spec does not know are kept as positional words, for
        // a later stage (a subcommand) to read; otherwise each is an error.
        bool passUnknown = false;
        // Whether --help and --version are this stage's to take.
        bool helpAndVersion = true;
    };

    explicit OptionParser(Spec spec) : spec_(std::move(spec)) {}

    // The parsed words, or the usage error as text.
    Result<Parsed, std::string> parse(const std::vector<std::string>& arguments) const;

private:
    Spec spec_;
};

}  // namespace tallywick
