// SPDX-License-Identifier: MIT
#include <tallywick/core.h>

#include <cstdio>

#include "protocol/ExampleTexts.h"
#include "support/JsonEqual.h"

namespace {

int failures = 0;

template <class Message>
void roundTrip(std::string_view text) {
    auto value = tallywick::TallywickCoding::decode<Message>(text);
    auto again = value ? tallywick::TallywickCoding::encodeToString(*value) : std::nullopt;
    if (!again || !tallywick::testing::jsonTextsEqual(*again, text)) {
        std::fprintf(stderr, "no round trip: %.*s\n", int(text.size()), text.data());
        ++failures;
    }
}

}  // namespace

int main() {
    using namespace tallywick::testing;
    for (auto text : kRequestExamples) roundTrip<tallywick::ControlRequest>(text);
    for (auto text : kResponseExamples) roundTrip<tallywick::ControlResponse>(text);
    for (auto text : kEventExamples) roundTrip<tallywick::ControlEvent>(text);
    roundTrip<tallywick::ControlResponse>(kFullSnapshotResponse);
    if (tallywick::TallywickCoding::decode<tallywick::ControlRequest>("{}")) ++failures;
    std::printf("%s, version %s\n", failures ? "FAILED" : "ok",
                std::string(tallywick::TallywickVersion::displayString).c_str());
    return failures ? 1 : 0;
}
