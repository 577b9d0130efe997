// SPDX-License-Identifier: MIT
#include "DecoderAgreement.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <tallywick/core.h>

#include "QtSnapshotDecoder.h"

namespace tallywick::bench {
namespace {

constexpr std::string_view kSmallSnapshot =
    R"({"snapshot":{"_0":{"accounts":[{"id":"A1","displayName":"Scout","identityMode":"clientInfo",)"
    R"("clientInfo":{"name":"claude-code","version":"2.1"},"clientInfoFields":[{"key":"os","value":"linux"}],)"
    R"("balance":50250,"createdAt":"2025-03-04T05:06:07Z","isConnected":true}],)"
    R"("entries":[{"id":"E2","accountId":"A1","kind":"credit","flag":"bonus","amount":250,"memo":"Good answer",)"
    R"("createdAt":"2025-03-04T05:07:00Z","updatedAt":"2025-03-04T05:08:00Z","sequence":2}],)"
    R"("connections":[{"id":"C7","accountId":"A1","authenticated":true,"connectedAt":"2025-03-04T05:06:07Z"}],)"
    R"("settings":{"allowUnauthenticated":true,"startingPoints":50000},)"
    R"("recentApiLog":[{"id":"L42","connectionId":"C7","direction":"request","method":"tools\/call",)"
    R"("payload":"{}","timestamp":"2025-03-04T05:06:08Z"}],"hostVersion":"1.0"}}})";

// One change to the small snapshot: the first `find` becomes `replace`.
struct Variant {
    std::string_view find;
    std::string_view replace;
    bool accepted;
};

constexpr Variant kVariants[] = {
    {"", "", true},
    {R"("amount":250)", R"("amount":250.5)", false},
    {R"("amount":250)", R"("amount":"250")", false},
    {R"("amount":250)", R"("amount":9223372036854775807)", true},
    {R"("amount":250)", R"("amount":-9223372036854775808)", true},
    {R"("amount":250)", R"("amount":9007199254740993)", true},
    {R"("amount":250)", R"("amount":9223372036854775808)", false},
    {R"(,"sequence":2)", "", false},
    {R"("memo":"Good answer")", R"("memo":null)", false},
    {R"("memo":"Good answer")", R"("memo":"Good answer","mood":"🙂")", true},
    {R"("method":"tools\/call")", R"("method":null)", true},
    {R"("kind":"credit")", R"("kind":"Credit")", false},
    {R"("isConnected":true)", R"("isConnected":1)", false},
    {R"("payload":"{}")", R"("payload":{})", false},
    {R"("hostVersion":"1.0")", R"("hostVersion":["1.0"])", false},
    {R"("clientInfoFields":[{"key":"os","value":"linux"}])", R"("clientInfoFields":[])", true},
    {R"("clientInfo":{"name":"claude-code","version":"2.1"})", R"("clientInfo":{"version":"2.1"})", false},
    {"2025-03-04T05:07:00Z", "2025-03-04T05:07:00", false},
    {"2025-03-04T05:07:00Z", "2025-03-04t05:07:00z", false},
    {"2025-03-04T05:07:00Z", "2025-03-04T24:00:00Z", false},
    {"2025-03-04T05:07:00Z", "2025-03-04T05:07:60Z", false},
    {"2025-03-04T05:07:00Z", "2025-03-04T06:07:00.999+01:00", true},
    {R"({"snapshot":)", R"({"note":1,"snapshot":)", true},
    {R"({"snapshot":)", R"({"ok":{},"snapshot":)", false},
    {R"("Scout")", "\"Sc\xff\"", false},
    {R"("hostVersion":"1.0"}}})", R"("hostVersion":"1.0"}})", false},
};

constexpr std::string_view kWholeTexts[][2] = {
    {R"({"ok":{}})", "yes"},
    {R"({"ok":{"anything":[1,2]}})", "yes"},
    {R"({"ok":[]})", "no"},
    {R"({"failure":{"_0":"No such account"}})", "yes"},
    {R"({"failure":{}})", "no"},
    {R"({"failure":{"_0":null}})", "no"},
    {R"({})", "no"},
    {R"([{"ok":{}}])", "no"},
    {"", "no"},
};

[[noreturn]] void disagree(std::string_view what, std::string_view text) {
    std::fprintf(stderr, "decoders disagree: %.*s\n  text: %.*s\n", int(what.size()), what.data(),
                 int(std::min<std::size_t>(text.size(), 400)), text.data());
    std::abort();
}

std::string reencoded(const std::optional<ControlResponse>& response) {
    auto text = TallywickCoding::encodeToString(*response);
    return text ? *text : "<not writable>";
}

// Both must accept or refuse as expected, and what they accept must write the same.
void check(std::string_view text, bool accepted) {
    const auto ours = TallywickCoding::decode<ControlResponse>(text);
    const auto qt = decodeWithQt(text);
    if (ours.has_value() != accepted)
        disagree(accepted ? "ours refused a good text" : "ours took a bad text", text);
    if (qt.has_value() != accepted)
        disagree(accepted ? "Qt refused a good text" : "Qt took a bad text", text);
    if (accepted && reencoded(ours) != reencoded(qt)) disagree("different records", text);
}

}  // namespace

void verifyDecodersAgree(const std::vector<Workload>& workloads) {
    std::size_t checked = 0;
    for (const auto& variant : kVariants) {
        std::string text(kSmallSnapshot);
        if (!variant.find.empty()) {
            const auto at = text.find(variant.find);
            if (at == std::string::npos) disagree("a variant does not apply", variant.find);
            text.replace(at, variant.find.size(), variant.replace);
        }
        check(text, variant.accepted);
        ++checked;
    }
    for (const auto& [text, verdict] : kWholeTexts) {
        check(text, verdict == "yes");
        ++checked;
    }
    std::printf("Strictness: ours and the Qt baseline agree on %zu small texts\n", checked);

    for (const auto& workload : workloads) {
        const auto ours = TallywickCoding::decode<ControlResponse>(workload.text);
        const auto qt = decodeWithQt(workload.text);
        if (!ours || !qt)
            disagree(!ours ? "ours refused a workload" : "Qt refused a workload", workload.text);
        if (reencoded(ours) != workload.text)
            disagree("ours does not write back the workload text", workload.text);
        if (reencoded(qt) != workload.text)
            disagree("Qt's records do not write back the workload text", workload.text);
        std::printf("Verified %zu entries (%zu bytes): both decoders write back the identical text\n",
                    workload.entries, workload.text.size());
    }
}

}  // namespace tallywick::bench
